#include "platform/httpapi/RequestRecord.h"

#include <array>
#include <charconv>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include <arpa/inet.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Connection.h"
#include "platform/httpapi/Target.h"
#include "platform/httpapi/tls/TlsStream.h"

namespace Zn
{
namespace
{

/// Hands out room in the receiver's buffer from front to back. Once something did not fit, nothing fits.
class Room
{
public:
    Room(void* ABuffer, std::size_t ALength) : FNext(static_cast<std::byte*>(ABuffer)), FEnd(FNext + ALength)
    {
    }

    template <class T>
    std::span<T> Take(std::size_t ACount)
    {
        const auto Misplaced = reinterpret_cast<std::uintptr_t>(FNext) % alignof(T);
        const std::size_t Gap = Misplaced == 0 ? 0 : alignof(T) - Misplaced;
        const auto Left = static_cast<std::size_t>(FEnd - FNext);
        if (FFull || Left < Gap || (Left - Gap) / sizeof(T) < ACount) {
            FFull = true;
            return {};
        }
        T* const Place = reinterpret_cast<T*>(FNext + Gap);
        FNext += Gap + ACount * sizeof(T);
        return {Place, ACount};
    }

    const char* Text(std::string_view AText)
    {
        const auto Place = Take<char>(AText.size());
        if (!Place.empty())
            std::memcpy(Place.data(), AText.data(), AText.size());
        return FFull ? nullptr : Place.data();
    }

    /// Shrinks the last piece taken: ACount of T's stay unused.
    template <class T>
    void GiveBack(std::size_t ACount)
    {
        FNext -= ACount * sizeof(T);
    }

    bool IsFull() const { return FFull; }
    std::size_t Left() const { return static_cast<std::size_t>(FEnd - FNext); }

private:
    std::byte* FNext;
    std::byte* FEnd;
    bool FFull = false;
};

std::uint16_t Narrow(std::size_t ALength)
{
    return static_cast<std::uint16_t>(ALength); // the head's limit keeps every length below 64 KiB
}

const sockaddr* CopyAddress(Room& ARoom, const sockaddr_storage& AAddress)
{
    const bool IPv6 = AAddress.ss_family == AF_INET6;
    const std::size_t Length = IPv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    const auto Place = ARoom.Take<std::uint64_t>((Length + 7) / 8);
    if (Place.empty())
        return nullptr;
    std::memcpy(Place.data(), &AAddress, Length);
    return reinterpret_cast<const sockaddr*>(Place.data());
}

/// The host of a request that names none (HTTP/1.0): the address it came to.
std::string LocalHostText(const Connection& AConnection)
{
    std::array<char, INET6_ADDRSTRLEN> Text{};
    if (AConnection.Local.ss_family == AF_INET6) {
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(AConnection.Local).sin6_addr, Text.data(),
                  Text.size());
        return "[" + std::string(Text.data()) + "]:" + std::to_string(AConnection.LocalPort);
    }
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(AConnection.Local).sin_addr, Text.data(),
              Text.size());
    return std::string(Text.data()) + ":" + std::to_string(AConnection.LocalPort);
}

void WriteUrl(Room& ARoom, THTTP_REQUEST& ARequest, const RequestHead& AHead, const Connection& AFrom)
{
    const bool Secure = AFrom.Io.IsSecure();
    const std::uint16_t DefaultPort = Secure ? 443 : 80;
    const std::string Fallback = AHead.Host.empty() ? LocalHostText(AFrom) : std::string();
    const auto Host = SplitHost(AHead.Host.empty() ? std::string_view(Fallback) : AHead.Host, DefaultPort);
    std::string Resolved;
    std::string_view Path = AHead.Path;
    if (!IsCanonical(Path)) {
        Resolved = CanonicalPath(Path).value_or("/");
        Path = Resolved;
    }
    // As much as there is; what ComposeUrl leaves over goes to the texts.
    const std::size_t Most = ARoom.Left() / sizeof(char16_t);
    const auto Place = ARoom.Take<char16_t>(Most > 0 ? Most - 1 : 0);
    const auto Url =
        Host ? ComposeUrl(Secure ? "https" : "http", *Host, Path, AHead.Query, Place) : std::nullopt;
    if (!Url || Url->Length * sizeof(char16_t) > 0xffff) {
        ARoom.Take<char>(ARoom.Left() + 1); // full
        return;
    }
    ARoom.GiveBack<char16_t>(Place.size() - Url->Length);
    const auto Bytes = [](std::size_t ACharacters) { return Narrow(ACharacters * sizeof(char16_t)); };
    THTTP_COOKED_URL& Cooked = ARequest.CookedUrl;
    Cooked.pFullUrl = Place.data();
    Cooked.FullUrlLength = Bytes(Url->Length);
    Cooked.pHost = Place.data() + Url->HostStart;
    Cooked.HostLength = Bytes(Url->HostLength);
    Cooked.pAbsPath = Place.data() + Url->PathStart;
    Cooked.AbsPathLength = Bytes(Url->PathLength);
    Cooked.pQueryString = Url->QueryLength > 0 ? Place.data() + Url->QueryStart : nullptr;
    Cooked.QueryStringLength = Bytes(Url->QueryLength);
}

/// A known field that came several times is one list (RFC 9110, 5.3); of Cookie, one list of pairs.
void AppendKnown(Room& ARoom, THTTP_KNOWN_HEADER& AHeader, const FieldView& AField)
{
    const std::string_view Separator = AField.Id == HttpHeaderCookie ? "; " : ", ";
    const std::size_t Length = AHeader.RawValueLength + Separator.size() + AField.Value.size();
    const auto Place = ARoom.Take<char>(Length);
    if (Place.empty())
        return;
    char* Next = Place.data();
    for (const std::string_view Part :
         {std::string_view(AHeader.pRawValue, AHeader.RawValueLength), Separator, AField.Value}) {
        std::memcpy(Next, Part.data(), Part.size());
        Next += Part.size();
    }
    AHeader = {Narrow(Length), Place.data()};
}

void WriteFields(Room& ARoom, THTTP_REQUEST_HEADERS& AHeaders, std::span<const FieldView> AFields)
{
    std::size_t UnknownCount = 0;
    for (const FieldView& Each : AFields)
        UnknownCount += Each.Id < 0 ? 1 : 0;
    const auto Unknown = ARoom.Take<THTTP_UNKNOWN_HEADER>(UnknownCount);
    AHeaders.pUnknownHeaders = Unknown.data();
    AHeaders.UnknownHeaderCount = Narrow(UnknownCount);
    std::size_t Next = 0;
    for (const FieldView& Each : AFields) {
        if (ARoom.IsFull())
            return;
        if (Each.Id < 0) {
            Unknown[Next++] = {Narrow(Each.Name.size()), Narrow(Each.Value.size()), ARoom.Text(Each.Name),
                               ARoom.Text(Each.Value)};
            continue;
        }
        THTTP_KNOWN_HEADER& Header = AHeaders.KnownHeaders[Each.Id];
        if (Header.pRawValue == nullptr)
            Header = {Narrow(Each.Value.size()), ARoom.Text(Each.Value)};
        else
            AppendKnown(ARoom, Header, Each);
    }
}

const THTTP_SSL_INFO* WriteSslInfo(Room& ARoom, const TlsPeer& APeer)
{
    const auto Info = ARoom.Take<THTTP_SSL_INFO>(1);
    if (Info.empty())
        return nullptr;
    Info[0] = {Narrow(APeer.Protocol.size()), Narrow(APeer.Cipher.size()), ARoom.Text(APeer.Protocol),
               ARoom.Text(APeer.Cipher), nullptr};
    if (!APeer.HasCertificate)
        return Info.data();
    const auto Certificate = ARoom.Take<THTTP_SSL_CLIENT_CERT_INFO>(1);
    if (Certificate.empty())
        return nullptr;
    Certificate[0] = {APeer.Verified ? 0U : 1U, Narrow(APeer.Subject.size()), ARoom.Text(APeer.Subject)};
    Info[0].pClientCertInfo = Certificate.data();
    return Info.data();
}

} // namespace

std::uint32_t WriteRequest(const RequestHead& AHead, const RequestOrigin& AOrigin, PHTTP_REQUEST ABuffer,
                           std::uint32_t ALength, std::uint32_t& AUsed)
{
    AUsed = 0;
    if (ALength < sizeof(THTTP_REQUEST))
        return ERROR_MORE_DATA;
    THTTP_REQUEST& Request = *new (ABuffer) THTTP_REQUEST{};
    Room Rest(ABuffer + 1, ALength - sizeof(THTTP_REQUEST));
    Request.Flags = AOrigin.From.Request.BodyDone ? 0 : HTTP_REQUEST_FLAG_MORE_ENTITY_BODY_EXISTS;
    Request.ConnectionId = AOrigin.From.ConnectionId.load(std::memory_order_relaxed);
    Request.RequestId = AOrigin.RequestId;
    Request.UrlContext = AOrigin.UrlContext;
    Request.Version = AHead.Version;
    Request.Verb = AHead.Verb;
    Request.BytesReceived = AHead.Length;
    Request.Address = {CopyAddress(Rest, AOrigin.From.Remote), CopyAddress(Rest, AOrigin.From.Local)};
    WriteUrl(Rest, Request, AHead, AOrigin.From);
    WriteFields(Rest, Request.Headers, AHead.Fields);
    if (const TlsPeer* const Peer = AOrigin.From.Io.Peer())
        Request.pSslInfo = WriteSslInfo(Rest, *Peer);
    Request.pRawUrl = Rest.Text(AHead.Target);
    Request.RawUrlLength = Narrow(AHead.Target.size());
    if (AHead.Verb == HttpVerbUnknown) {
        Request.pUnknownVerb = Rest.Text(AHead.Method);
        Request.UnknownVerbLength = Narrow(AHead.Method.size());
    }
    if (Rest.IsFull())
        return ERROR_MORE_DATA;
    AUsed = ALength - static_cast<std::uint32_t>(Rest.Left());
    return NO_ERROR;
}

} // namespace Zn
