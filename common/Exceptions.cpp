#include "common/Exceptions.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <cxxabi.h>

std::string Zn::FormatList(const char* AFormat, std::va_list AArguments)
{
    std::va_list Again;
    va_copy(Again, AArguments);
    char Short[256];
    int Length = std::vsnprintf(Short, sizeof Short, AFormat, AArguments);
    std::string Result;
    if (Length >= 0 && static_cast<std::size_t>(Length) < sizeof Short) {
        Result.assign(Short, static_cast<std::size_t>(Length));
    } else if (Length > 0) {
        Result.resize(static_cast<std::size_t>(Length));
        std::vsnprintf(Result.data(), Result.size() + 1, AFormat, Again);
    }
    va_end(Again);
    return Result;
}

EZnException EZnException::CreateFmt(int AErrorCode, const char* AFormat, ...)
{
    std::va_list Arguments;
    va_start(Arguments, AFormat);
    std::string Message = Zn::FormatList(AFormat, Arguments);
    va_end(Arguments);
    return EZnException(std::move(Message), AErrorCode);
}

std::string ZnFormat(const char* AFormat, ...)
{
    std::va_list Arguments;
    va_start(Arguments, AFormat);
    std::string Result = Zn::FormatList(AFormat, Arguments);
    va_end(Arguments);
    return Result;
}

void Zn::RaiseAssertionFailed(const char* AText)
{
    throw EAssertionFailed(AText);
}

std::string Zn::TypeName(const std::type_info& AType)
{
    int Status = 0;
    std::unique_ptr<char, decltype(&std::free)> Name(
        abi::__cxa_demangle(AType.name(), nullptr, nullptr, &Status), &std::free);
    return Status == 0 ? Name.get() : AType.name();
}

std::string ExceptionClassName(const std::exception& AException)
{
    if (const auto* Own = dynamic_cast<const Exception*>(&AException))
        return Own->ClassName();
    return Zn::TypeName(typeid(AException));
}
