#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/Component.h"
#include "common/StringList.h"
#include "platform/Api.h"

class TZnHTTPServerConfiguration;

/// Who may register which URL prefix.
struct TZnHTTPServerUrlAclReservation
{
    /// "http://+:8080/app/".
    std::string UrlPrefix;
    std::string SecurityDescriptor; // SDDL text
};
/// Borrowed from its list.
using PZnHTTPServerUrlAclReservation = TZnHTTPServerUrlAclReservation*;

/// The certificate that a port is bound to.
struct TZnHTTPServerSSLRegistration
{
    std::string IP; // at most 255 characters
    /// 1 to 65535.
    std::int32_t Port = 0;
    /// "my", or the store's other name.
    std::string CertStoreName;
    std::string CertThumbPrint; // hexadecimal text, at most 255 characters
};
/// Borrowed from its list.
using PZnHTTPServerSSLRegistration = TZnHTTPServerSSLRegistration*;

/// The service's URL reservations, as they were at the last Refresh; made by
/// TZnHTTPServerConfiguration.
class ZN_API TZnHTTPServerUrlAclList : public TObject
{
public:
    /// Reads the table. Raises as Refresh.
    explicit TZnHTTPServerUrlAclList(TZnHTTPServerConfiguration* AOwner);

    /// Who made the list.
    TZnHTTPServerConfiguration* GetOwner() const { return FOwner; }

    /// The number of reservations.
    int GetCount() const { return static_cast<int>(FList.size()); }
    /// Valid until the next change of the list. EListError outside of it.
    PZnHTTPServerUrlAclReservation GetItem(int AIndex) const;

    /// Reads the table anew. A failure leaves what was read before it in the list.
    void Refresh();
    /// Changes the table, then reads it anew. Delete goes by the prefix. A refusal leaves the list as it
    /// was.
    void Add(const std::string& APrefix, const std::string& ASecurityDescriptor);
    /// Takes a reservation back, by its prefix. Raises EZnHTTPException 2 where there is none.
    void Delete(const std::string& APrefix, const std::string& ASecurityDescriptor);

private:
    void ClearList();

    TZnHTTPServerConfiguration* FOwner;
    std::vector<std::unique_ptr<TZnHTTPServerUrlAclReservation>> FList;
};

/// The addresses that names, "+" and "*" in bindings listen on, as they were at the last Refresh; all of the
/// machine's where the list is empty. Made by TZnHTTPServerConfiguration.
class ZN_API TZnHTTPServerIPListenList : public TObject
{
public:
    /// Reads the table. Raises as Refresh.
    explicit TZnHTTPServerIPListenList(TZnHTTPServerConfiguration* AOwner);

    /// Who made the list.
    TZnHTTPServerConfiguration* GetOwner() const { return FOwner; }

    /// The number of addresses.
    int GetCount() const { return FList.Count(); }
    /// EStringListError outside of the list.
    const std::string& GetIPAddress(int AIndex) const { return FList[AIndex]; }
    /// Replaces the lines of AList by the addresses.
    void FillIPList(TStrings& AList) const { AList.Assign(&FList); }
    /// -1 where it isn't in the list.
    int IndexOf(const std::string& AIPAddress) const { return FList.IndexOf(AIPAddress); }

    /// Reads the table anew. A failure leaves what was read before it in the list.
    void Refresh();
    /// Takes IPv4 and IPv6 addresses, and names that resolve to one. Raises Exception "Invalid IPAddress!"
    /// for anything else. Changes the table, then reads it anew. A refusal leaves the list as it was.
    void Add(const std::string& AIPAddress);
    /// The same by its place in the list.
    void Delete(int AIndex);
    /// Takes a scope as well: "fe80::1%2".
    void Delete(const std::string& AIPAddress);

private:
    TZnHTTPServerConfiguration* FOwner;
    TStringList FList;
};

/// The certificates that ports are bound to, as they were at the last Refresh; made by
/// TZnHTTPServerConfiguration.
class ZN_API TZnHTTPServerSSLList : public TObject
{
public:
    /// Reads the table. Raises as Refresh.
    explicit TZnHTTPServerSSLList(TZnHTTPServerConfiguration* AOwner);

    /// Who made the list.
    TZnHTTPServerConfiguration* GetOwner() const { return FOwner; }

    /// The number of bindings.
    int GetCount() const { return static_cast<int>(FList.size()); }
    /// Valid until the next change of the list. EListError outside of it.
    PZnHTTPServerSSLRegistration GetItem(int AIndex) const;

    /// Reads the table anew. A failure leaves what was read before it in the list.
    void Refresh();
    /// Binds the certificate of that thumbprint to the port, on all addresses: AIP is kept in this list only.
    /// Raises EZnHTTPException 1312 where the store has no such certificate or not its key, 183 where the
    /// port has one, 87 for a port outside of 1 to 65535; EConvertError for a thumbprint that isn't
    /// hexadecimal.
    void Add(const std::string& ACertStoreName, const std::string& ACertThumbPrint, const std::string& AIP,
             std::int32_t APort);
    /// Takes the certificate from the port of that entry. Raises EZnHTTPException 2 where it has none any
    /// more.
    void Delete(int AIndex);

private:
    void ClearList();

    TZnHTTPServerConfiguration* FOwner;
    std::vector<std::unique_ptr<TZnHTTPServerSSLRegistration>> FList;
};

/// The tables of the HTTP service that servers depend on, apart from any running server: URL
/// reservations, IP listen list, certificates of ports.
///
/// Use:       read or change one of the lists; changes are kept by the service, take effect when a
///            server is switched on, and outlive the process.
/// Threads:   one thread; meant for set-up. Other processes may change the tables: Refresh tells.
/// Ownership: AOwner frees it; the lists are its own.
/// Errors:    what the service refuses comes as EZnHTTPException with the platform's number: 5
///            without the right to change the tables, 13 where their file is damaged. The
///            first use of a list loads the service in the selected ServerVersion and raises as
///            a server's SetActive does.
class ZN_API TZnHTTPServerConfiguration : public TComponent
{
public:
    explicit TZnHTTPServerConfiguration(TComponent* AOwner) : TComponent(AOwner) {}
    ~TZnHTTPServerConfiguration() override;

    /// Each list is read at its first use.
    TZnHTTPServerIPListenList& GetIPListenList();
    /// The certificates of ports, read at the first call.
    TZnHTTPServerSSLList& GetSSLList();
    /// The URL reservations, read at the first call.
    TZnHTTPServerUrlAclList& GetUrlAclList();

private:
    void CheckInitialized();

    bool FInitialized = false;
    std::unique_ptr<TZnHTTPServerUrlAclList> FUrlAclList;
    std::unique_ptr<TZnHTTPServerIPListenList> FIPListenList;
    std::unique_ptr<TZnHTTPServerSSLList> FSSLList;
};
