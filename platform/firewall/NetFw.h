#pragma once

/// The firewall's objects: a list of programs that may be reached from the network, and whether the host
/// filters what comes in. The list is a record, kept in firewall.json of the state folder: applications and
/// those who write the host's rules read it, the system's packet filter doesn't.
///
/// Threads:   any; each object is one thread's at a time.
/// Ownership: every object keeps what it stands on.
/// Errors:    each operation returns S_OK or one of the numbers below.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Api.h"
#include "platform/interfaces/Interface.h"

/// The result of an operation of an object. Negative: failed.
using HRESULT = std::int32_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154); // no such class of objects
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);

/// 0x8007 and a number of platform/errors; S_OK for 0.
constexpr HRESULT HRESULT_FROM_WIN32(std::uint32_t AError)
{
    return AError == 0 ? S_OK : static_cast<HRESULT>(0x80070000U | (AError & 0xFFFFU));
}

using VARIANT_BOOL = std::int16_t;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

/// Who may reach a program.
inline constexpr std::int32_t NET_FW_SCOPE_ALL = 0;
inline constexpr std::int32_t NET_FW_SCOPE_LOCAL_SUBNET = 1;

inline constexpr std::int32_t NET_FW_IP_VERSION_V4 = 0;
inline constexpr std::int32_t NET_FW_IP_VERSION_V6 = 1;
inline constexpr std::int32_t NET_FW_IP_VERSION_ANY = 2;

// The classes of the objects that can be made.
inline constexpr TGUID IID_NetFwMgr{"304ce942-6e39-40d8-943a-b913c40c9cd4"};
inline constexpr TGUID IID_NetFwAuthorizedApplication{"ec9846b3-2762-4a6b-a214-6acb603462d2"};

/// A program of the list. An entry made by CoCreateInstance is a draft until it is added; one got by Item
/// is in the list, and what is set is kept at once. 1168 once somebody took it out.
class ZN_API INetFwAuthorizedApplication : public virtual IInterface
{
public:
    static constexpr TGUID IID{"b5e64ffa-c2c5-444e-a301-fb5e00018050"};

    virtual HRESULT get_Name(std::string& AName) = 0;
    virtual HRESULT put_Name(const std::string& AName) = 0;
    /// The program's absolute path, byte for byte. It names the entry, so that only a draft's can be set: 50.
    virtual HRESULT get_ProcessImageFileName(std::string& APath) = 0;
    virtual HRESULT put_ProcessImageFileName(const std::string& APath) = 0;
    virtual HRESULT get_IpVersion(std::int32_t& AVersion) = 0;
    virtual HRESULT put_IpVersion(std::int32_t AVersion) = 0;
    virtual HRESULT get_Scope(std::int32_t& AScope) = 0;
    virtual HRESULT put_Scope(std::int32_t AScope) = 0;
    virtual HRESULT get_Enabled(VARIANT_BOOL& AEnabled) = 0;
    virtual HRESULT put_Enabled(VARIANT_BOOL AEnabled) = 0;
};

class ZN_API INetFwAuthorizedApplications : public virtual IInterface
{
public:
    static constexpr TGUID IID{"644efd52-ccf9-486c-97a2-39f352570b30"};

    virtual HRESULT get_Count(std::int32_t& ACount) = 0;
    /// Puts a copy in the list, in the place of the entry with the same path. 87 for a path that isn't
    /// absolute, holds a NUL or is longer than 4095 bytes; 1816 for more than 10,000 entries.
    virtual HRESULT Add(const std::shared_ptr<INetFwAuthorizedApplication>& AApplication) = 0;
    /// Both: 2 where no entry has the path.
    virtual HRESULT Remove(const std::string& APath) = 0;
    virtual HRESULT Item(const std::string& APath, std::shared_ptr<INetFwAuthorizedApplication>& AResult) = 0;
};

class ZN_API INetFwProfile : public virtual IInterface
{
public:
    static constexpr TGUID IID{"174a0dda-e9f9-449d-993b-21ab667ca456"};

    /// Whether the host filters what comes in, now; see HostFirewall.h.
    virtual HRESULT get_FirewallEnabled(VARIANT_BOOL& AEnabled) = 0;
    virtual HRESULT get_AuthorizedApplications(std::shared_ptr<INetFwAuthorizedApplications>& AResult) = 0;
};

class ZN_API INetFwPolicy : public virtual IInterface
{
public:
    static constexpr TGUID IID{"d46d2478-9ac9-4008-9dc7-5563ce5536cc"};

    virtual HRESULT get_CurrentProfile(std::shared_ptr<INetFwProfile>& AResult) = 0;
};

class ZN_API INetFwMgr : public virtual IInterface
{
public:
    static constexpr TGUID IID{"f7898af5-cac4-4632-a2ec-da06e5111af2"};

    virtual HRESULT get_LocalPolicy(std::shared_ptr<INetFwPolicy>& AResult) = 0;
};

inline constexpr TGUID IID_INetFwMgr = INetFwMgr::IID;
inline constexpr TGUID IID_INetFwAuthorizedApplication = INetFwAuthorizedApplication::IID;

inline constexpr std::uint32_t CLSCTX_INPROC_SERVER = 1;

/// What "Ole32.dll" publishes as "CoCreateInstance": makes an object of a class above and gives it by the
/// interface AInterface.
using TCoCreateInstance = HRESULT (*)(const TGUID& AClass, std::uint32_t AContext, const TGUID& AInterface,
                                      std::shared_ptr<IInterface>& AResult);
