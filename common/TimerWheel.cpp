#include "common/TimerWheel.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace Zn
{

TimerWheel::~TimerWheel()
{
    while (TakeAny())
        ;
}

void TimerWheel::Insert(std::shared_ptr<TimerEntry> AEntry, std::uint64_t ADeadline)
{
    TimerEntry& Entry = *AEntry;
    if (IsLinked(Entry)) {
        Unlink(Entry);
    } else {
        Entry.FSelf = std::move(AEntry);
        ++FCount;
    }
    Entry.FDeadline = ADeadline;
    Place(Entry);
}

std::shared_ptr<TimerEntry> TimerWheel::Remove(TimerEntry& AEntry)
{
    if (!IsLinked(AEntry))
        return nullptr;
    return Release(AEntry);
}

bool TimerWheel::Advance(std::uint64_t ANow, std::size_t ALimit)
{
    for (;;) {
        // Drained to its end before time goes on: until then its entries are at a level too high.
        while (FDraining != nullptr) {
            if (!IsLinked(*FDraining)) {
                FDraining = nullptr;
                break;
            }
            if (ALimit-- == 0)
                return false;
            TimerEntry& Entry = *EntryOf(FDraining->Next);
            Unlink(Entry);
            Place(Entry);
        }
        const unsigned Level = FirstLevel();
        const unsigned Digit = Level < cLevels ? FirstDigit(Level) : 0;
        const std::uint64_t Start = Level < cLevels ? StartOf(Level, Digit) : cNever;
        if (Level == cLevels || Start > ANow) {
            FTime = std::max(FTime, ANow); // short of the first slot, so every entry keeps its place
            return true;
        }
        FTime = Start;
        FDraining = &Slot(Level, Digit);
    }
}

std::shared_ptr<TimerEntry> TimerWheel::TakeDue()
{
    return IsLinked(FDue) ? Release(*EntryOf(FDue.Next)) : nullptr;
}

std::shared_ptr<TimerEntry> TimerWheel::TakeAny()
{
    if (IsLinked(FDue))
        return TakeDue();
    const unsigned Level = FirstLevel();
    if (Level == cLevels)
        return nullptr;
    return Release(*EntryOf(Slot(Level, FirstDigit(Level)).Next));
}

std::uint64_t TimerWheel::NextEvent() const
{
    if (IsLinked(FDue) || FDraining != nullptr)
        return FTime;
    const unsigned Level = FirstLevel();
    return Level == cLevels ? cNever : StartOf(Level, FirstDigit(Level));
}

void TimerWheel::Append(TimerLink& AList, TimerLink& ALink)
{
    ALink.Previous = AList.Previous;
    ALink.Next = &AList;
    AList.Previous->Next = &ALink;
    AList.Previous = &ALink;
}

void TimerWheel::Place(TimerEntry& AEntry)
{
    if (AEntry.FDeadline <= FTime)
        return Append(FDue, AEntry);
    const unsigned HighestBit = 63U - static_cast<unsigned>(std::countl_zero(AEntry.FDeadline ^ FTime));
    const unsigned Level = HighestBit / cDigitBits;
    const unsigned Digit = static_cast<unsigned>(AEntry.FDeadline >> (Level * cDigitBits)) % cSlots;
    Append(Slot(Level, Digit), AEntry);
    FOccupied[Level] |= std::uint64_t{1} << Digit;
}

void TimerWheel::Unlink(TimerLink& ALink)
{
    TimerLink* const Neighbour = ALink.Next;
    ALink.Previous->Next = ALink.Next;
    ALink.Next->Previous = ALink.Previous;
    ALink.Next = ALink.Previous = &ALink;
    if (IsLinked(*Neighbour) || Neighbour == &FDue)
        return;
    // It was the only one, so its neighbour is the slot itself.
    const auto Index = static_cast<std::size_t>(Neighbour - FSlots.data());
    FOccupied[Index / cSlots] &= ~(std::uint64_t{1} << Index % cSlots);
}

std::shared_ptr<TimerEntry> TimerWheel::Release(TimerEntry& AEntry)
{
    Unlink(AEntry);
    --FCount;
    return std::move(AEntry.FSelf);
}

unsigned TimerWheel::FirstLevel() const
{
    unsigned Level = 0;
    while (Level < cLevels && FOccupied[Level] == 0)
        ++Level;
    return Level;
}

unsigned TimerWheel::FirstDigit(unsigned ALevel) const
{
    return static_cast<unsigned>(std::countr_zero(FOccupied[ALevel]));
}

std::uint64_t TimerWheel::StartOf(unsigned ALevel, unsigned ADigit) const
{
    const unsigned Shift = ALevel * cDigitBits;
    const std::uint64_t Below =
        Shift + cDigitBits >= 64 ? 0 : FTime >> (Shift + cDigitBits) << (Shift + cDigitBits);
    return Below | std::uint64_t{ADigit} << Shift;
}

} // namespace Zn
