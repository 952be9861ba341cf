#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Api.h"
#include "uZnWinINet/Session.h"
#include "uZnWinINetH.h"

/// Runs on the thread that sends, when a request has failed by something that the user may decide (most of
/// what is wrong with a certificate), and with 12015 when the response is a 401 or 407. Sender is the
/// request. It may name a parent for the dialog, or take it away, and forbid that an acceptance leads to
/// another attempt.
using TZnWinINetClientOnError = std::function<void(TObject* Sender, std::uint32_t AErrorCode,
                                                   HWND& AErrorDialogParentHandle, bool& AAllowContinue)>;

/// The HTTP client on WinINet, which can ask the user: for programs that somebody sits in front of.
///
/// Use:       TZnWinINetClient Client(nullptr); Client.EnableErrorDialog(Window);
///            with ZnSetInternetErrorDialog for who asks. Without both it asks nobody.
/// Threads, ownership: as TZnHTTPTransportClient.
/// Errors:    as TZnHTTPClientBase, with the classes of uZnWinINetH. EAbort when the user says no.
class ZN_API TZnWinINetClient : public TZnHTTPTransportClient
{
public:
    explicit TZnWinINetClient(TComponent* AOwner) : TZnHTTPTransportClient(AOwner) {}
    ~TZnWinINetClient() override { Shutdown(); }

    /// Made if there is none.
    TZnWinINetSession& GetWinINetSession() { return static_cast<TZnWinINetSession&>(GetTransportSession()); }
    using TZnHTTPTransportClient::SetSession;
    /// A session to share; nullptr takes it away, and the next request makes one.
    void SetSession(TZnWinINetSession* AValue) { UseSession(AValue); }

    /// The engine keeps no responses: this tells caches on the way to give none ("Pragma: no-cache").
    /// Default false.
    bool GetDisableCache() const { return FDisableCache; }
    void SetDisableCache(bool AValue) { FDisableCache = AValue; }

    /// The parent of dialogs; any value but nullptr turns them on. At first they are off.
    void EnableErrorDialog(HWND AParentHandle) { FErrorDlgParent = AParentHandle; }
    /// Nobody is asked any more: what needs an answer fails.
    void DisableErorDialog() { FErrorDlgParent = nullptr; }
    /// The parent of dialogs; nullptr: they are off.
    HWND GetErrorDlgParent() const { return FErrorDlgParent; }

    /// Asked about a failure ahead of the dialog, on the thread that sends.
    TZnWinINetClientOnError GetOnError() const { return FOnError; }
    void SetOnError(TZnWinINetClientOnError AValue) { FOnError = std::move(AValue); }

    /// Without sfIgnoreWrongUsage, which this engine doesn't know.
    void SetSecurityFlags(TZnHTTPSecurityFlags AValue) override;
    /// authNone in the place of what the engine finds out by itself: authNEGIOTIATE, authPassport, authOther.
    void SetAuthentication(TZnHTTPAuthentication AValue) override;

    /// Calls the event, if there is one.
    virtual void DoOnError(TObject* ASender, std::uint32_t AErrorCode, HWND& AParent, bool& AAllowContinue);

protected:
    TZnHTTPTransportSession* MakeSession() override { return new TZnWinINetSession(this); }
    /// EZnWinINetInvalidArgument for a session of another transport.
    TZnHTTPTransportSession* SessionFrom(TObject* ASession) override;
    std::shared_ptr<IZnHTTPRequestEx> MakeRequest(TZnHTTPTransportSession& ASession,
                                                  TZnHTTPMethod AHTTPMethod, const std::string& AURL,
                                                  TStream* ABody, std::unique_ptr<TStream> AOwnBody,
                                                  const std::string& ABodyContentType) override;

private:
    bool FDisableCache = false;
    HWND FErrorDlgParent = nullptr;
    TZnWinINetClientOnError FOnError;
};
