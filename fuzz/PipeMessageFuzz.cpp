/// The reader gives the same messages however the bytes came and whatever the chunks, and refuses where
/// a reference that sees everything at once does.

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/FuzzCheck.h"
#include "platform/pipes/MessageReader.h"

namespace
{

using namespace Zn;

struct Outcome
{
    std::vector<std::string> Messages;
    bool IsRefused = false;
    bool operator==(const Outcome&) const = default;
};

Outcome Reference(std::string_view ABytes)
{
    Outcome Result;
    for (std::uint32_t Length; ABytes.size() >= sizeof(Length);) {
        std::memcpy(&Length, ABytes.data(), sizeof(Length));
        if (Length > 0x7FFFFFFF) {
            Result.IsRefused = true;
            break;
        }
        ABytes.remove_prefix(sizeof(Length));
        if (Length > ABytes.size())
            break;
        Result.Messages.emplace_back(ABytes.substr(0, Length));
        ABytes.remove_prefix(Length);
    }
    return Result;
}

/// As a pipe reads: chunk by chunk, AStep bytes at most with each receive, past the buffer where it may.
Outcome Read(std::string_view ABytes, std::size_t AStep, std::size_t AChunk)
{
    MessageReader Reader;
    Outcome Result;
    std::string Message;
    std::vector<std::byte> Chunk(AChunk);
    std::size_t Filled = 0;
    const auto EndChunk = [&](MessageReader::State AState) {
        Message.append(reinterpret_cast<const char*>(Chunk.data()), Filled);
        Filled = 0;
        if (AState == MessageReader::State::Complete) {
            Result.Messages.push_back(std::move(Message));
            Message.clear();
        }
    };
    for (;;) {
        const auto Rest = std::span(Chunk).subspan(Filled);
        const bool IsWhole = Reader.HasMessageEnd(Rest.size());
        const auto Taken = Reader.Take(Rest);
        FuzzCheck(Taken.Count <= Rest.size(), "within the chunk");
        FuzzCheck(!IsWhole || Taken.Status == MessageReader::State::Complete ||
                      Taken.Status == MessageReader::State::Refused,
                  "an end that was announced");
        Filled += Taken.Count;
        if (Taken.Status == MessageReader::State::Refused) {
            Result.IsRefused = true;
            return Result;
        }
        if (Taken.Status != MessageReader::State::NeedMore) {
            EndChunk(Taken.Status);
            continue;
        }
        if (ABytes.empty())
            return Result;
        const auto Left = std::span(Chunk).subspan(Filled);
        const bool IsDirect = Reader.DirectLength() >= Left.size();
        const auto Room = IsDirect ? Left : Reader.Room();
        FuzzCheck(!Room.empty(), "room to receive");
        const std::size_t Count = std::min({AStep, Room.size(), ABytes.size()});
        std::memcpy(Room.data(), ABytes.data(), Count);
        ABytes.remove_prefix(Count);
        if (!IsDirect) {
            Reader.Added(Count);
            continue;
        }
        Reader.PassedBy(Count);
        Filled += Count;
        if (Filled == Chunk.size())
            EndChunk(Reader.Finish());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string_view Bytes(reinterpret_cast<const char*>(AData), ALength);
    const Outcome Expected = Reference(Bytes);
    FuzzCheck(Read(Bytes, ALength + 1, ALength + 1) == Expected, "whole");
    FuzzCheck(Read(Bytes, 1, 1) == Expected, "byte by byte");
    FuzzCheck(Read(Bytes, 3, 5) == Expected, "in pieces");
    FuzzCheck(Read(Bytes, 7, 2) == Expected, "in small chunks");
    return 0;
}
