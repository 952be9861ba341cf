#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "common/Component.h"
#include "platform/Api.h"
#include "platform/tcp/TcpSocket.h"
#include "uZnIPHelper/SocketErrors.h"

/// A failed socket call of a connection: what was tried, then the text of its number.
class ZN_API ESocketError : public EZnSocketError
{
public:
    using EZnSocketError::EZnSocketError;
    ZN_EXCEPTION_NAME("ESocketError")
};

/// The connection of a TClientSocket.
class ZN_API TCustomWinSocket : public TObject
{
public:
    /// As far as this side knows.
    bool GetConnected() const { return FSocket.IsOpen(); }
    /// The descriptor, the socket's own; -1 while closed.
    int GetSocketHandle() const { return FSocket.Descriptor(); }

    /// Address texts and ports of both ends; empty and 0 while closed.
    std::string GetLocalAddress() const;
    /// This side's port.
    std::uint16_t GetLocalPort() const;
    /// The other side's address as text.
    std::string GetRemoteAddress() const;
    /// The other side's port.
    std::uint16_t GetRemotePort() const;

private:
    friend class TClientSocket;
    friend class TWinSocketStream;
    Zn::TcpSocket FSocket;
};

/// A TCP connection to a host and port; its calls wait until they are done.
///
/// Use:       set Host or Address, and Port; SetActive(true), or Open.
/// Threads:   one at a time, which also runs the events.
/// Ownership: AOwner frees it, which closes the connection. Socket is the component's own.
/// Errors:    Open raises ESocketError (11001: no such host) and leaves it closed.
class ZN_API TClientSocket : public TComponent
{
public:
    /// Something happened to the connection; runs on the thread that called.
    using TSocketNotifyEvent = std::function<void(TObject* ASender, TCustomWinSocket& ASocket)>;
    /// An event that sets AErrorCode to 0 has dealt with it: the socket is closed, and the call ends with
    /// EAbort, which shows nothing.
    using TSocketErrorEvent =
        std::function<void(TObject* ASender, TCustomWinSocket& ASocket, std::int32_t& AErrorCode)>;

    explicit TClientSocket(TComponent* AOwner = nullptr) : TComponent(AOwner) {}
    ~TClientSocket() override;

    /// A name or an address text. Setting them while active raises Exception.
    const std::string& GetHost() const { return FHost; }
    void SetHost(const std::string& AValue);
    /// An address text, used where Host is empty.
    const std::string& GetAddress() const { return FAddress; }
    void SetAddress(const std::string& AValue);
    /// 1 to 65535.
    std::int32_t GetPort() const { return FPort; }
    void SetPort(std::int32_t AValue);

    /// For all addresses of the host together, in ms; each gets its share. Default 30000.
    std::int32_t GetConnectTimeOut() const { return FConnectTimeOut; }
    void SetConnectTimeOut(std::int32_t AValue) { FConnectTimeOut = AValue; }

    /// Whether it is connected, as far as this side knows: the other side's end shows with the next read.
    bool GetActive() const { return FSocket.GetConnected(); }
    void SetActive(bool AValue);
    /// Connects. Raises ESocketError and stays closed.
    void Open() { SetActive(true); }
    /// Closes; nothing happens on a closed one.
    void Close() { SetActive(false); }

    /// The connection itself, the component's own.
    TCustomWinSocket& GetSocket() { return FSocket; }

    /// In this order; OnConnecting when the host's addresses are known.
    void SetOnLookup(TSocketNotifyEvent AValue) { FOnLookup = std::move(AValue); }
    /// The host's addresses are known and are tried next.
    void SetOnConnecting(TSocketNotifyEvent AValue) { FOnConnecting = std::move(AValue); }
    /// Connected.
    void SetOnConnect(TSocketNotifyEvent AValue) { FOnConnect = std::move(AValue); }
    /// About to be closed; the socket's addresses can still be read.
    void SetOnDisconnect(TSocketNotifyEvent AValue) { FOnDisconnect = std::move(AValue); }
    /// A call failed; the exception follows.
    void SetOnError(TSocketErrorEvent AValue) { FOnError = std::move(AValue); }

protected:
    /// Tells OnError and raises ESocketError, or EAbort where the event has dealt with it.
    [[noreturn]] void RaiseError(std::uint32_t AError, const std::string& AWhat);

private:
    friend class TWinSocketStream;
    void DoOpen();
    void DoClose();
    void DoEvent(const TSocketNotifyEvent& AEvent);
    void CheckInactive() const;

    TCustomWinSocket FSocket;
    std::string FHost;
    std::string FAddress;
    std::int32_t FPort = 0;
    std::int32_t FConnectTimeOut = 30000;
    TSocketNotifyEvent FOnLookup;
    TSocketNotifyEvent FOnConnecting;
    TSocketNotifyEvent FOnConnect;
    TSocketNotifyEvent FOnDisconnect;
    TSocketErrorEvent FOnError;
};
