#pragma once

#include <chrono>
#include <string>

#include "benchmarks/pipes/Peer.h"

/// What one cell gives; what doesn't apply is 0.
struct BenchFigures
{
    double PerSecond = 0;     // round trips or blocks
    double MegabytesPerS = 0; // of payload
    double MedianUs = 0;      // of a round trip
    double P99Us = 0;         // the worst client's
    double MedianWorstUs = 0; // the worst client's median
    double PeakMiB = 0;       // the sender's resident memory
};

/// Round trips of ALength bytes for ASeconds.
BenchFigures RoundTrips(BenchClient& AClient, std::size_t ALength, double ASeconds);
/// Blocks of ALength bytes for ASeconds, until the server has taken the last.
BenchFigures OneWay(BenchClient& AClient, std::size_t ALength, double ASeconds);
/// ACount clients that ask for ASeconds, each on its own thread, with pauses of APause on the average between
/// an answer and the next question; 0: as fast as they can.
BenchFigures Fairness(const BenchPeer& APeer, const std::string& AFolder, int ACount, double ASeconds,
                      std::chrono::microseconds APause);
/// One block of 1 GiB.
BenchFigures Giant(BenchClient& AClient);
