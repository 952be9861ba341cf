#include "common/Text.h"
#include "uZnHTTPClient/ClientBase.h"

namespace
{

constexpr std::uint16_t cNotFound = 404;
constexpr std::uint16_t cFirstError = 400;

constexpr TZnHTTPMethods AllMethods()
{
    TZnHTTPMethods Result;
    for (std::size_t Index = 0; Index < ZnHTTPMethod.size(); ++Index)
        Result.Include(static_cast<TZnHTTPMethod>(Index));
    return Result;
}

/// The methods whose name occurs in the text, wherever and in whatever case.
TZnHTTPMethods MethodsNamedIn(const std::string& AText)
{
    const std::string Text = UpperCase(AText);
    TZnHTTPMethods Result;
    for (std::size_t Index = 0; Index < ZnHTTPMethod.size(); ++Index) {
        if (Text.find(ZnHTTPMethod[Index]) != std::string::npos)
            Result.Include(static_cast<TZnHTTPMethod>(Index));
    }
    return Result;
}

} // namespace

TZnHTTPMethods TZnHTTPClientBase::Options(const std::string& AURL, TStream* AOutput)
{
    const auto Response = Request(httpOPTIONS, AURL, false);
    if (AOutput != nullptr)
        Response->GetResponseData(*AOutput);
    const std::uint16_t Status = Response->GetStatus().StatusCode;
    if (Status >= cFirstError && Status != cNotFound)
        return AllMethods();
    std::string Allowed = Response->GetHeader("Allow");
    if (Allowed.empty())
        Allowed = Response->GetHeader("Access-Control-Allow-Methods");
    return Allowed.empty() ? AllMethods() : MethodsNamedIn(Allowed);
}
