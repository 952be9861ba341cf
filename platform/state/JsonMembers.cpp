#include "platform/state/JsonMembers.h"

namespace Zn
{

std::string TakeText(StateJson& AObject, const char* AName)
{
    auto Value = TakeMember<std::string>(AObject, AName, {});
    RequireState(!Value.empty());
    return Value;
}

std::string OtherMembers(const StateJson& AObject)
{
    return AObject.empty() ? std::string() : AObject.dump();
}

void AppendOthers(StateJson& AObject, const std::string& AOthers)
{
    if (!AOthers.empty())
        AObject.update(StateJson::parse(AOthers));
}

bool ReadStateJson(std::string_view AText, const std::function<void(StateJson)>& ARead)
{
    constexpr int MaxDepth = 64; // writing goes down by recursion
    const auto NotTooDeep = [](int ADepth, StateJson::parse_event_t, StateJson&) {
        RequireState(ADepth <= MaxDepth);
        return true;
    };
    try {
        ARead(StateJson::parse(AText, NotTooDeep));
        return true;
    } catch (const MalformedState&) {
        return false;
    } catch (const StateJson::exception&) {
        return false;
    }
}

std::string WriteStateJson(const StateJson& ADocument)
{
    return ADocument.dump(2, ' ', false, StateJson::error_handler_t::replace) + "\n";
}

} // namespace Zn
