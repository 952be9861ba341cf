#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace Zn
{

/// A place in a list of the wheel. Linked to itself: in no list.
struct TimerLink
{
    TimerLink() = default;
    TimerLink(const TimerLink&) = delete;
    TimerLink& operator=(const TimerLink&) = delete;

    TimerLink* Previous = this;
    TimerLink* Next = this;
};

/// What waits for a moment. Held by std::shared_ptr: while it waits, Timers hold a reference, so it
/// may be nobody's else.
class TimerEntry : private TimerLink
{
public:
    virtual ~TimerEntry() = default;

    /// The moment has come, on the thread of the Timers and outside of their lock. It may schedule
    /// itself and others anew. When another thread scheduled or cancelled the entry at the very same time,
    /// this call may come all the same: an entry that minds looks at its own state.
    virtual void OnTimer() noexcept = 0;

private:
    friend class TimerWheel;

    std::uint64_t FDeadline = 0;       // ms
    std::shared_ptr<TimerEntry> FSelf; // set while the entry is in the wheel
};

/// Orders entries by their moments: a hierarchical wheel, in which inserting and removing cost the same few
/// instructions however many entries there are.
///
///     level 0:  64 slots of 1 ms        an entry stands at the level of the highest
///     level 1:  64 slots of 64 ms       base-64 digit in which its deadline differs from
///     level 2:  64 slots of 4 s         the wheel's time, in the slot of that digit
///     ...                               (level 10 covers the rest of 64 bits)
///
/// So all of level 0 comes before all of level 1, slots of a level come in the order of their numbers, and
/// the slot of the current digit is empty. When time reaches a slot of a higher level, its entries move down,
/// by and by: Advance does a bounded amount of work.
///
/// Knows no clock, lock or thread. Times are milliseconds.
class TimerWheel
{
public:
    static constexpr std::uint64_t cNever = std::numeric_limits<std::uint64_t>::max();

    TimerWheel() = default;
    ~TimerWheel();
    TimerWheel(const TimerWheel&) = delete;
    TimerWheel& operator=(const TimerWheel&) = delete;

    /// Puts AEntry in, or moves it if it is in already.
    void Insert(std::shared_ptr<TimerEntry> AEntry, std::uint64_t ADeadline);

    /// Takes AEntry out and gives the reference that was held; empty if it isn't in.
    std::shared_ptr<TimerEntry> Remove(TimerEntry& AEntry);

    /// Moves time towards ANow; touches at most ALimit entries. False: call again, there is more to move.
    bool Advance(std::uint64_t ANow, std::size_t ALimit);

    /// The next entry whose moment has come, taken out; empty when there is none.
    std::shared_ptr<TimerEntry> TakeDue();
    /// The same for any entry: empties the wheel.
    std::shared_ptr<TimerEntry> TakeAny();

    /// When there is something to do: no entry is due before it. cNever for an empty wheel.
    std::uint64_t NextEvent() const;

    std::size_t Count() const { return FCount; }

private:
    static constexpr unsigned cDigitBits = 6;
    static constexpr unsigned cSlots = 1U << cDigitBits;
    static constexpr unsigned cLevels = (64 + cDigitBits - 1) / cDigitBits;

    static bool IsLinked(const TimerLink& ALink) { return ALink.Next != &ALink; }
    static TimerEntry* EntryOf(TimerLink* ALink) { return static_cast<TimerEntry*>(ALink); }
    static void Append(TimerLink& AList, TimerLink& ALink);
    void Place(TimerEntry& AEntry);
    void Unlink(TimerLink& ALink);
    std::shared_ptr<TimerEntry> Release(TimerEntry& AEntry);
    TimerLink& Slot(unsigned ALevel, unsigned ADigit) { return FSlots[ALevel * cSlots + ADigit]; }
    /// The first slot that holds anything: its level, or cLevels.
    unsigned FirstLevel() const;
    unsigned FirstDigit(unsigned ALevel) const;
    std::uint64_t StartOf(unsigned ALevel, unsigned ADigit) const;

    std::uint64_t FTime = 0;
    std::size_t FCount = 0;
    std::array<std::uint64_t, cLevels> FOccupied{}; // a bit for each slot that holds anything
    std::array<TimerLink, static_cast<std::size_t>(cLevels) * cSlots> FSlots;
    TimerLink* FDraining = nullptr; // the slot that time has reached, while its entries move down
    TimerLink FDue;
};

} // namespace Zn
