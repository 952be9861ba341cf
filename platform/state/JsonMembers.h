#pragma once

/// Reading and writing the JSON files of the state folder: strict about what is known, keeping what isn't.

#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

namespace Zn
{

using StateJson = nlohmann::ordered_json;

/// Thrown where a file isn't of its form; ReadStateJson catches it.
struct MalformedState
{
};

inline void RequireState(bool ACondition)
{
    if (!ACondition)
        throw MalformedState{};
}

/// Takes a member out of its object, so that in the end the unknown ones are left. Absent: ADefault.
template <class T>
T TakeMember(StateJson& AObject, const char* AName, T ADefault)
{
    const auto Found = AObject.find(AName);
    if (Found == AObject.end())
        return ADefault;
    if constexpr (std::is_same_v<T, bool>)
        RequireState(Found->is_boolean());
    else if constexpr (std::is_same_v<T, std::string>)
        RequireState(Found->is_string());
    else
        RequireState(Found->is_array());
    T Value = Found->template get<T>();
    AObject.erase(AName);
    return Value;
}

/// A text that has to be there and isn't empty.
std::string TakeText(StateJson& AObject, const char* AName);

/// What is left of an object whose known members were taken, as text; empty where nothing is.
std::string OtherMembers(const StateJson& AObject);
void AppendOthers(StateJson& AObject, const std::string& AOthers);

/// A file's text as JSON, given to ARead. False where it is no JSON, nested too deeply to be written again,
/// or ARead found it malformed.
bool ReadStateJson(std::string_view AText, const std::function<void(StateJson)>& ARead);

/// Indented, for people to read.
std::string WriteStateJson(const StateJson& ADocument);

template <class T>
StateJson ToJsonArray(const std::vector<T>& AEntries, StateJson (*AToJson)(const std::type_identity_t<T>&))
{
    StateJson Result = StateJson::array();
    for (const T& Each : AEntries)
        Result.push_back(AToJson(Each));
    return Result;
}

} // namespace Zn
