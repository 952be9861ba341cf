#pragma once

#include <cstdint>
#include <memory>

#include <systemd/sd-bus.h>

namespace Zn
{

/// An interface of an object of a service on the bus.
struct TBusObject
{
    const char* Service;
    const char* Path;
    const char* Interface;
};

struct TBusMessageDeleter
{
    void operator()(sd_bus_message* AMessage) const { sd_bus_message_unref(AMessage); }
};
using TBusReply = std::unique_ptr<sd_bus_message, TBusMessageDeleter>;

/// A connection of its own to the system's message bus, for the length of an operation. One thread at a time.
class TSystemBus
{
public:
    TSystemBus();
    ~TSystemBus();
    TSystemBus(const TSystemBus&) = delete;
    TSystemBus& operator=(const TSystemBus&) = delete;

    bool IsOpen() const { return FBus != nullptr; }

    /// True where the service runs.
    bool HasService(const char* AService);

    /// The property's value; empty where there is none, or the service doesn't answer within seconds.
    TBusReply GetProperty(const TBusObject& AObject, const char* AProperty, const char* AType);

    /// Calls a method whose arguments have the types in ATypes; empty with the platform's number in AError.
    template <typename... TArguments>
    TBusReply Call(const TBusObject& AObject, const char* AMethod, std::uint32_t& AError, const char* ATypes,
                   TArguments... AArguments)
    {
        sd_bus_message* Request = nullptr;
        if (!FBus || sd_bus_message_new_method_call(FBus, &Request, AObject.Service, AObject.Path,
                                                    AObject.Interface, AMethod) < 0)
            return Failed(AError);
        const TBusReply Owned(Request);
        if constexpr (sizeof...(AArguments) > 0) {
            if (sd_bus_message_append(Request, ATypes, AArguments...) < 0)
                return Failed(AError);
        }
        return Send(Request, AError);
    }

private:
    static TBusReply Failed(std::uint32_t& AError);
    TBusReply Send(sd_bus_message* ARequest, std::uint32_t& AError);

    sd_bus* FBus = nullptr;
};

} // namespace Zn
