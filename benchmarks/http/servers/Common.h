#pragma once

/// What every server of the comparison shares: its arguments, the bodies it answers with, and its end.

#include <cstdint>
#include <string>
#include <string_view>

namespace Zn::Bench
{

/// PROGRAM PORT FOLDER [THREADS]: serve FOLDER's bodies at 127.0.0.1:PORT.
struct TArguments
{
    std::uint16_t Port;
    std::string Folder;
    unsigned Threads; // 0: the program's own choice

    /// Ends the program with a usage line where they are wrong.
    static TArguments Read(int argc, char** argv);
};

inline constexpr std::string_view cText = "text/plain";
inline constexpr std::string_view cBytes = "application/octet-stream";

/// The answers to GET, read from the folder once. Files are not held: they are sent from the disk.
class TSite
{
public:
    explicit TSite(std::string AFolder);

    struct TBody
    {
        std::string Bytes;
        std::string_view ContentType;
    };

    /// The body for /text13, /text4k or /body100k, else nullptr. Any thread.
    const TBody* Find(std::string_view ATarget) const;

    /// The path of the file for /file10m or /file1g, else empty. Any thread.
    std::string FileFor(std::string_view ATarget) const;

private:
    std::string FFolder;
    TBody FText13;
    TBody FText4K;
    TBody FBody100K;
};

/// Keeps SIGTERM and SIGINT for WaitForEnd(). Called first in main, so that every thread inherits it.
void BlockEndSignals();

/// Returns when the bench ends the server.
void WaitForEnd();

} // namespace Zn::Bench
