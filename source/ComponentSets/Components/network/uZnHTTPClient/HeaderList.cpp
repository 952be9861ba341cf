#include "uZnHTTPClient/HeaderList.h"

#include "common/Text.h"

namespace
{

std::string Line(std::string_view AName, std::string_view AValue)
{
    std::string Result;
    Result.reserve(AName.size() + 2 + AValue.size());
    Result.append(AName).append(": ").append(AValue);
    return Result;
}

} // namespace

void TZnHTTPHeaderList::Add(std::string_view AName, std::string_view AValue)
{
    FHeaders.Add(Line(AName, AValue));
}

int TZnHTTPHeaderList::IndexOfName(std::string_view AName) const
{
    int Index = 0;
    for (const std::string_view Each : FHeaders) {
        const std::size_t Colon = Each.find(cZnColon);
        if (Colon != std::string_view::npos && SameText(ZnTrimView(Each.substr(0, Colon)), AName))
            return Index;
        ++Index;
    }
    return -1;
}

std::string TZnHTTPHeaderList::ValueOfName(std::string_view AName) const
{
    const int Index = IndexOfName(AName);
    if (Index < 0)
        return {};
    const std::string& Found = FHeaders[Index];
    return Found.substr(Found.find(cZnColon) + 1);
}

std::string_view TZnHTTPHeaderList::NameView(int AIndex) const
{
    const std::string_view Whole = FHeaders[AIndex];
    const std::size_t Colon = Whole.find(cZnColon);
    return Colon == std::string_view::npos ? Whole : ZnTrimView(Whole.substr(0, Colon));
}

std::string_view TZnHTTPHeaderList::ValueView(int AIndex) const
{
    const std::string_view Whole = FHeaders[AIndex];
    const std::size_t Colon = Whole.find(cZnColon);
    return Colon == std::string_view::npos ? std::string_view() : ZnTrimView(Whole.substr(Colon + 1));
}

void TZnHTTPHeaderList::SetValue(int AIndex, std::string_view AValue)
{
    FHeaders.SetString(AIndex, Line(NameView(AIndex), AValue));
}

void TZnHTTPHeaderList::SetText(std::string_view AText)
{
    FHeaders.SetText(ZnTrimView(AText));
}

void TZnHTTPHeaderList::AssignTo(TPersistent* ADest) const
{
    if (auto* List = dynamic_cast<TZnHTTPHeaderList*>(ADest)) {
        List->FHeaders = FHeaders;
        return;
    }
    TPersistent::AssignTo(ADest);
}
