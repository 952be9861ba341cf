#include "uZnWinINet/Binding.h"

#include "uZnHTTPClient/Connections.h"
#include "uZnHTTPClient/RequestHandle.h"
#include "uZnHTTPTransport/PlatformText.h"
#include "uZnWinINetH.h"

namespace
{

class TZnInetConnection final : public TZnHTTPConnection
{
public:
    using TZnHTTPConnection::TZnHTTPConnection;
    ~TZnInetConnection() override { Close(); }

private:
    void CloseConnection(void* AConnection) override { InternetCloseHandle(AConnection, false); }
};

class TZnInetRequestHandle final : public TZnHTTPRequestHandle
{
public:
    using TZnHTTPRequestHandle::TZnHTTPRequestHandle;
    ~TZnInetRequestHandle() override { TZnInetRequestHandle::CloseHandle(); }

    void CloseHandle() override
    {
        if (void* const Handle = Release())
            InternetCloseHandle(Handle, false);
    }
};

std::string ServerErrorFor(const std::string& AURL)
{
    return "URL: " + AURL;
}

class Binding final : public Zn::FunctionBinding
{
public:
    HINTERNET Open(const std::string& AUserAgent, TZnHTTPAccessType AAccessType,
                   const std::string& AProxyServer, const std::string& AProxyBypass) const override
    {
        return InternetOpen(AUserAgent, AAccessType, false, AProxyServer, AProxyBypass);
    }
    void Close(HINTERNET AHandle, bool ARaiseError) const override
    {
        InternetCloseHandle(AHandle, ARaiseError);
    }
    std::shared_ptr<IZnHTTPRequestHandle> Own(HINTERNET ARequest) const override
    {
        return std::make_shared<TZnInetRequestHandle>(ARequest);
    }
    std::shared_ptr<TZnHTTPConnection> OwnConnection(const void* AClientId, HINTERNET AConnection,
                                                     const TZnHTTPTimeOuts& ATimeOuts,
                                                     std::string AHostName) const override
    {
        return std::make_shared<TZnInetConnection>(AClientId, AConnection, ATimeOuts, std::move(AHostName));
    }

    void SetOption(HINTERNET AHandle, std::uint32_t AOption, std::span<const std::byte> AValue) const override
    {
        InternetSetOption(AHandle, AOption, AValue.data(), static_cast<std::uint32_t>(AValue.size()));
    }
    void AddField(HINTERNET ARequest, std::string_view ALine, Zn::FieldRule ARule) const override
    {
        HttpAddRequestHeaders(ARequest, ALine,
                              ARule == Zn::FieldRule::AddReplace
                                  ? THTTP_ADDREQ_FLAGS{mfAdd, mfReplace}
                                  : THTTP_ADDREQ_FLAGS{mfAdd, mfCoalesceWithSemiColon});
    }
    void RemoveField(HINTERNET ARequest, std::string_view AName) const override
    {
        const Zn::PlatformText Line(std::string(AName) + ":");
        (*Zn::WinINet.AddRequestHeaders)(ARequest, Line.Text(), Line.Length(), HTTP_ADDREQ_FLAG_REPLACE);
    }

    /// The first one of several.
    std::string QueryText(HINTERNET ARequest, std::uint32_t ALevel, std::string_view AName) const override
    {
        std::string Value;
        HttpQueryInfo(ARequest, ALevel, AName, Value);
        return Value;
    }
    bool QueryNumber(HINTERNET ARequest, std::uint32_t ALevel, void* ABuffer,
                     std::uint32_t ASize) const override
    {
        std::uint32_t Index = 0;
        return (*Zn::WinINet.QueryInfo)(ARequest, ALevel, ABuffer, &ASize, &Index);
    }
    std::uint32_t QueryAvailable(HINTERNET ARequest, const TURLText& AURL) const override
    {
        std::uint32_t Available = 0;
        if (!(*Zn::WinINet.QueryDataAvailable)(ARequest, &Available, 0, 0))
            HttpCheckError("InternetQueryDataAvailable", ServerErrorFor(AURL()));
        return Available;
    }
    std::uint32_t Read(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize,
                       const TURLText& AURL) const override
    {
        std::uint32_t Count = 0;
        if (!(*Zn::WinINet.ReadFile)(ARequest, ABuffer, ASize, &Count))
            HttpCheckError("InternetReadFile", ServerErrorFor(AURL()));
        return Count;
    }

    std::string ErrorText(std::uint32_t ACode) const override { return WinINetErrorMsg(ACode); }
    [[noreturn]] void Raise(const std::string& AFuncName, std::uint32_t ACode) const override
    {
        throw EZnWinINetHException(AFuncName, ACode, "");
    }
    [[noreturn]] void RaiseRule(const std::string& AText) const override { throw EZnWinINetException(AText); }
};

} // namespace

const Zn::FunctionBinding& Zn::WinINetBinding()
{
    static const Binding Instance;
    return Instance;
}
