#include "platform/iphelper/SystemBus.h"

#include "platform/errors/Errors.h"

namespace
{

constexpr std::uint64_t cCallTime = 5'000'000; // microseconds

} // namespace

Zn::TSystemBus::TSystemBus()
{
    if (sd_bus_open_system(&FBus) < 0)
        FBus = nullptr;
    else
        sd_bus_set_method_call_timeout(FBus, cCallTime);
}

Zn::TSystemBus::~TSystemBus()
{
    sd_bus_flush_close_unref(FBus);
}

bool Zn::TSystemBus::HasService(const char* AService)
{
    std::uint32_t Error = NO_ERROR;
    return Call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"}, "GetNameOwner",
                Error, "s", AService) != nullptr;
}

Zn::TBusReply Zn::TSystemBus::GetProperty(const TBusObject& AObject, const char* AProperty, const char* AType)
{
    sd_bus_message* Reply = nullptr;
    if (!FBus || sd_bus_get_property(FBus, AObject.Service, AObject.Path, AObject.Interface, AProperty,
                                     nullptr, &Reply, AType) < 0)
        return nullptr;
    return TBusReply(Reply);
}

Zn::TBusReply Zn::TSystemBus::Failed(std::uint32_t& AError)
{
    AError = ERROR_GEN_FAILURE;
    return nullptr;
}

Zn::TBusReply Zn::TSystemBus::Send(sd_bus_message* ARequest, std::uint32_t& AError)
{
    sd_bus_error Failure{};
    sd_bus_message* Reply = nullptr;
    const int Result = sd_bus_call(FBus, ARequest, 0, &Failure, &Reply);
    if (Result < 0) {
        // "Interactive authentication required" and the like mean the same to a program.
        const bool IsRight =
            sd_bus_error_has_name(&Failure, SD_BUS_ERROR_ACCESS_DENIED) != 0 ||
            sd_bus_error_has_name(&Failure, SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED) != 0 ||
            sd_bus_error_has_name(&Failure, "org.freedesktop.NetworkManager.PermissionDenied") != 0;
        AError = IsRight ? std::uint32_t{ERROR_ACCESS_DENIED} : FromErrno(-Result);
    }
    sd_bus_error_free(&Failure);
    return TBusReply(Reply);
}
