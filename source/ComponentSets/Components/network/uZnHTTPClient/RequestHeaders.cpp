#include "uZnHTTPClient/RequestHeaders.h"

#include <utility>

#include "uZnHTTPClient/HeaderList.h"

struct TZnHTTPRequestHeaders::TTextField
{
    TZnHTTPRequestHeaderField Field;
    std::string_view Name;
    std::string TZnHTTPRequestHeaders::*Member;
};

// In the order in which they are sent, between Max-Forwards and Connection.
const std::array<TZnHTTPRequestHeaders::TTextField, 12> TZnHTTPRequestHeaders::cTextFields{{
    {rhfAcceptEncoding, "Accept-Encoding", &TZnHTTPRequestHeaders::FAcceptEncoding},
    {rhfPragma, "Pragma", &TZnHTTPRequestHeaders::FPragma},
    {rhfReferer, "Referer", &TZnHTTPRequestHeaders::FReferer},
    {rhfUserAgent, "User-Agent", &TZnHTTPRequestHeaders::FUserAgent},
    {rhfAccept, "Accept", &TZnHTTPRequestHeaders::FAccept},
    {rhfAcceptLanguage, "Accept-Language", &TZnHTTPRequestHeaders::FAcceptLanguage},
    {rhfAcceptCharset, "Accept-Charset", &TZnHTTPRequestHeaders::FAcceptCharset},
    {rhfExpect, "Expect", &TZnHTTPRequestHeaders::FExpect},
    {rhfCookie, "Cookie", &TZnHTTPRequestHeaders::FCookie},
    {rhfFrom, "From", &TZnHTTPRequestHeaders::FFrom},
    {rhfAcceptDatetime, "Accept-Datetime", &TZnHTTPRequestHeaders::FAcceptDatetime},
    {rhfOrigin, "Origin", &TZnHTTPRequestHeaders::FOrigin},
}};

void TZnHTTPRequestHeaders::SetText(TZnHTTPRequestHeaderField AField,
                                    std::string TZnHTTPRequestHeaders::*AMember, std::string AValue)
{
    this->*AMember = std::move(AValue);
    FAssignedValues.Include(AField);
}

#define ZN_TEXT_SETTER(AName)                                                                                \
    void TZnHTTPRequestHeaders::Set##AName(std::string AValue)                                               \
    {                                                                                                        \
        SetText(rhf##AName, &TZnHTTPRequestHeaders::F##AName, std::move(AValue));                            \
    }
ZN_TEXT_SETTER(AcceptEncoding)
ZN_TEXT_SETTER(Pragma)
ZN_TEXT_SETTER(Referer)
ZN_TEXT_SETTER(UserAgent)
ZN_TEXT_SETTER(Accept)
ZN_TEXT_SETTER(AcceptLanguage)
ZN_TEXT_SETTER(AcceptCharset)
ZN_TEXT_SETTER(Expect)
ZN_TEXT_SETTER(Cookie)
ZN_TEXT_SETTER(From)
ZN_TEXT_SETTER(AcceptDatetime)
ZN_TEXT_SETTER(Origin)
#undef ZN_TEXT_SETTER

void TZnHTTPRequestHeaders::SetMaxForwards(int AValue)
{
    FMaxForwards = AValue;
    FAssignedValues.Include(rhfMaxForwards);
}

void TZnHTTPRequestHeaders::SetConnection(TZnHTTPConnectionHeader AValue)
{
    FConnection = AValue;
    FAssignedValues.Include(rhfConnection);
}

void TZnHTTPRequestHeaders::SetAssignedValues(TZnHTTPRequestHeaderFields AValue)
{
    FAssignedValues = AValue;
    if (!AValue.Contains(rhfMaxForwards))
        FMaxForwards = -1;
    for (const TTextField& Each : cTextFields) {
        if (!AValue.Contains(Each.Field))
            (this->*Each.Member).clear();
    }
    if (!AValue.Contains(rhfConnection))
        FConnection = ctKeepAlive;
}

/// Calls AVisitor(name, value) for each field that is sent, but for the custom ones.
template <class TVisitor>
void TZnHTTPRequestHeaders::VisitIncluded(TVisitor AVisitor) const
{
    if (FAssignedValues.Contains(rhfMaxForwards) && FMaxForwards >= 0)
        AVisitor("Max-Forwards", std::to_string(FMaxForwards));
    for (const TTextField& Each : cTextFields) {
        if (FAssignedValues.Contains(Each.Field) && !(this->*Each.Member).empty())
            AVisitor(Each.Name, this->*Each.Member);
    }
    if (FAssignedValues.Contains(rhfConnection))
        AVisitor("Connection", ZnHTTPConnectionHeader[FConnection]);
    if (!FCacheControl.GetAssignedValues().Empty())
        AVisitor("Cache-Control", FCacheControl.AsString());
}

void TZnHTTPRequestHeaders::GetHTTPHeaders(TStrings& AStringList) const
{
    AStringList.Assign(&FCustomHeaders);
    VisitIncluded(
        [&](std::string_view AName, std::string_view AValue) { AStringList.SetValue(AName, AValue); });
}

void TZnHTTPRequestHeaders::AssignTo(TPersistent* ADest) const
{
    if (auto* Headers = dynamic_cast<TZnHTTPRequestHeaders*>(ADest)) {
        *Headers = *this;
        return;
    }
    auto* List = dynamic_cast<TZnHTTPHeaderList*>(ADest);
    if (List == nullptr) {
        TPersistent::AssignTo(ADest);
        return;
    }
    VisitIncluded([&](std::string_view AName, std::string_view AValue) { List->Add(AName, AValue); });
    for (const std::string_view Line : FCustomHeaders) {
        const std::size_t Equals = Line.find('=');
        if (Equals == std::string_view::npos)
            List->Add({}, {});
        else
            List->Add(Line.substr(0, Equals), Line.substr(Equals + 1));
    }
}
