#pragma once

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
/// ACount clients that ask as fast as they can, each on its own thread.
BenchFigures Fairness(const BenchPeer& APeer, const std::string& AFolder, int ACount, double ASeconds);
/// One block of 1 GiB.
BenchFigures Giant(BenchClient& AClient);
