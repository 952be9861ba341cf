#pragma once

#include <cstring>
#include <memory>
#include <vector>

#include "common/Exceptions.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPServer/ApiBinding.h"
#include "uZnHTTPServer/Failures.h"

namespace Zn
{

/// What a query gave: a record with what it points at behind it.
class ConfigurationAnswer
{
public:
    /// Zeroed, and aligned for every record.
    explicit ConfigurationAnswer(std::uint32_t ALength) : FMemory((ALength + 7) / 8), FLength(ALength) {}

    void* Data() { return FMemory.data(); }
    const char* Bytes() const { return reinterpret_cast<const char*>(FMemory.data()); }
    std::uint32_t Length() const { return FLength; }

    /// Zeros where the answer is shorter than the record.
    template <class T>
    T Record() const
    {
        T Result{};
        if (FLength >= sizeof(T))
            std::memcpy(&Result, Bytes(), sizeof(T));
        return Result;
    }

private:
    std::vector<std::uint64_t> FMemory;
    std::uint32_t FLength;
};

/// Asks for the answer's length, then for the answer. The result is that of the first query: anything but
/// 122 is the caller's to judge, and comes without an answer. Raises EZnHTTPException where the second
/// fails.
inline std::uint32_t QueryConfiguration(THTTP_SERVICE_CONFIG_ID AId, const void* AInput,
                                        std::uint32_t AInputLength,
                                        std::unique_ptr<ConfigurationAnswer>& AAnswer)
{
    std::uint32_t Length = 0;
    const std::uint32_t Result =
        HttpApi.HttpQueryServiceConfiguration(0, AId, AInput, AInputLength, nullptr, 0, &Length, nullptr);
    if (Result != ERROR_INSUFFICIENT_BUFFER)
        return Result;
    AAnswer = std::make_unique<ConfigurationAnswer>(Length);
    CheckResult(HttpApi.HttpQueryServiceConfiguration(0, AId, AInput, AInputLength, AAnswer->Data(), Length,
                                                      &Length, nullptr));
    return Result;
}

/// Gives each entry of a table to AFill, in the table's order. Raises EZnHTTPException.
template <class TQuery, class TFill>
void QueryConfigurationTable(THTTP_SERVICE_CONFIG_ID AId, TFill AFill)
{
    TQuery Query{};
    Query.QueryDesc = HttpServiceConfigQueryNext;
    for (;; ++Query.dwToken) {
        std::unique_ptr<ConfigurationAnswer> Answer;
        switch (const std::uint32_t Result = QueryConfiguration(AId, &Query, sizeof Query, Answer)) {
        case ERROR_INSUFFICIENT_BUFFER:
            AFill(*Answer);
            break;
        case ERROR_FILE_NOT_FOUND:
        case ERROR_NO_MORE_ITEMS:
        case ERROR_NOT_FOUND:
            return;
        default:
            CheckResult(Result);
        }
    }
}

/// AList[AIndex]; EListError where there is none.
template <class T>
T* ListItem(const std::vector<std::unique_ptr<T>>& AList, int AIndex)
{
    if (AIndex < 0 || static_cast<std::size_t>(AIndex) >= AList.size())
        throw EListError(ZnFormat("List index out of bounds (%d)", AIndex));
    return AList[static_cast<std::size_t>(AIndex)].get();
}

} // namespace Zn
