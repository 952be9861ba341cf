#include "uZnWinHTTP/Binding.h"

#include "uZnHTTPClient/Connections.h"
#include "uZnHTTPClient/RequestHandle.h"
#include "uZnWinHTTPH.h"

namespace
{

class TZnWinHTTPConnection final : public TZnHTTPConnection
{
public:
    using TZnHTTPConnection::TZnHTTPConnection;
    ~TZnWinHTTPConnection() override { Close(); }

private:
    void CloseConnection(void* AConnection) override { WinHttpCloseHandle(AConnection, false); }
};

class TZnWinHTTPRequestHandle final : public TZnHTTPRequestHandle
{
public:
    using TZnHTTPRequestHandle::TZnHTTPRequestHandle;
    ~TZnWinHTTPRequestHandle() override { TZnWinHTTPRequestHandle::CloseHandle(); }

    void CloseHandle() override
    {
        if (void* const Handle = Release())
            WinHttpCloseHandle(Handle, false);
    }
};

class Binding final : public Zn::FunctionBinding
{
public:
    HINTERNET Open(const std::string& AUserAgent, TZnHTTPAccessType AAccessType,
                   const std::string& AProxyServer, const std::string& AProxyBypass) const override
    {
        return WinHttpOpen(AUserAgent, AAccessType, AProxyServer, AProxyBypass, false);
    }
    void Close(HINTERNET AHandle, bool ARaiseError) const override
    {
        WinHttpCloseHandle(AHandle, ARaiseError);
    }
    std::shared_ptr<IZnHTTPRequestHandle> Own(HINTERNET ARequest) const override
    {
        return std::make_shared<TZnWinHTTPRequestHandle>(ARequest);
    }
    std::shared_ptr<TZnHTTPConnection> OwnConnection(const void* AClientId, HINTERNET AConnection,
                                                     const TZnHTTPTimeOuts& ATimeOuts,
                                                     std::string AHostName) const override
    {
        return std::make_shared<TZnWinHTTPConnection>(AClientId, AConnection, ATimeOuts,
                                                      std::move(AHostName));
    }

    void SetOption(HINTERNET AHandle, std::uint32_t AOption, std::span<const std::byte> AValue) const override
    {
        WinHttpSetOption(AHandle, AOption, AValue);
    }
    void AddField(HINTERNET ARequest, std::string_view ALine, Zn::FieldRule ARule) const override
    {
        const TWINHTTP_ADDREQ_FLAGS Flags = ARule == Zn::FieldRule::AddReplace
                                                ? TWINHTTP_ADDREQ_FLAGS{mfAdd, mfReplace}
                                                : TWINHTTP_ADDREQ_FLAGS{mfAdd, mfCoalesceWithSemiColon};
        WinHttpAddRequestHeaders(ARequest, ALine, Flags, true);
    }
    void RemoveField(HINTERNET ARequest, std::string_view AName) const override
    {
        WinHttpAddRequestHeaders(ARequest, std::string(AName) + ":", {mfReplace}, false);
    }

    std::string QueryText(HINTERNET ARequest, std::uint32_t ALevel, std::string_view AName) const override
    {
        std::string Value;
        WinHttpQueryHeaders(ARequest, ALevel, AName, Value);
        return Value;
    }
    bool QueryNumber(HINTERNET ARequest, std::uint32_t ALevel, void* ABuffer,
                     std::uint32_t ASize) const override
    {
        return WinHttpQueryHeaders(ARequest, ALevel, ABuffer, ASize);
    }
    std::uint32_t QueryAvailable(HINTERNET ARequest, const TURLText& /*AURL*/) const override
    {
        return WinHttpQueryDataAvailable(ARequest);
    }
    std::uint32_t Read(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize,
                       const TURLText& /*AURL*/) const override
    {
        return WinHttpReadData(ARequest, ABuffer, ASize, false);
    }

    std::string ErrorText(std::uint32_t ACode) const override { return WinHttpErrorMsg(ACode); }
    [[noreturn]] void Raise(const std::string& AFuncName, std::uint32_t ACode) const override
    {
        throw EZnWinHTTPHException(AFuncName, ACode, "");
    }
    [[noreturn]] void RaiseRule(const std::string& AText) const override { throw EZnWinHTTPException(AText); }
};

} // namespace

const Zn::FunctionBinding& Zn::WinHTTPBinding()
{
    static const Binding Instance;
    return Instance;
}
