#include "platform/pipes/PipeName.h"

std::optional<Zn::PipeName> Zn::PipeName::Parse(std::string_view APath)
{
    constexpr std::string_view cPipe = "pipe\\";
    if (!APath.starts_with("\\\\"))
        return std::nullopt;
    APath.remove_prefix(2);
    const std::size_t HostEnd = APath.find('\\');
    if (HostEnd == APath.npos || !APath.substr(HostEnd + 1).starts_with(cPipe))
        return std::nullopt;
    PipeName Result{std::string(APath.substr(0, HostEnd)),
                    std::string(APath.substr(HostEnd + 1 + cPipe.size()))};
    if (Result.Host == ".")
        Result.Host.clear();
    if (Result.Name.empty() || Result.Name.find('\\') != Result.Name.npos)
        return std::nullopt;
    return Result;
}

std::string Zn::PipeName::FileName() const
{
    constexpr std::string_view cDigits = "0123456789ABCDEF";
    std::string Result;
    for (const char Char : Name) {
        const auto Byte = static_cast<unsigned char>(Char);
        const bool IsPlain = Byte > 0x20 && Byte != 0x7F && Char != '/' && Char != '%';
        if (IsPlain && !(Char == '.' && Result.empty())) {
            Result += Char;
            continue;
        }
        Result += '%';
        Result += cDigits[Byte >> 4];
        Result += cDigits[Byte & 15];
    }
    return Result;
}
