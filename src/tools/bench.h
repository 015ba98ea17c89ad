#pragma once

#include <string_view>

/// Depth of the search benchmark where none is given.
inline constexpr int kDefaultBenchDepth = 11;

/// The positions of the search benchmark, in its order.
inline constexpr std::string_view kBenchPositions[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1",
    "r1bqk2r/pppp1ppp/2n2n2/2b1p3/2B1P3/2N2N2/PPPP1PPP/R1BQK2R w KQkq - 0 1",
    "rnbq1rk1/pp2ppbp/3p1np1/2p5/2PP4/2N1PN2/PP2BPPP/R1BQK2R w KQ - 0 1",
    "r4rk1/1pp1qppp/p1np1n2/2b1p1B1/2B1P1b1/P1NP1N2/1PP1QPPP/R4RK1 w - - 0 10",
    "2rq1rk1/pp1bppbp/2np1np1/8/3NP3/1BN1BP2/PPPQ2PP/2KR3R w - - 0 1",
    "4rrk1/pp1n1ppp/2p5/3p4/3P4/2P2N2/PP3PPP/R3R1K1 w - - 0 1",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
    "8/pp3k2/2p2p2/3p4/3P4/2P2P2/PP3K2/8 w - - 0 1",
    "8/8/3k4/2p5/2P5/3K4/8/8 w - - 0 1",
};

/// Searches the positions above one after another to the given depth, each from empty tables, on
/// the calling thread, and prints a line for each and one for all. The node counts are the
/// signature of the search: the same in every run and every build. A depth below 1 stands for the
/// default.
void runBenchSearch(int depth);

/// Counts move sequences of depth 5 from three positions and prints the counts: a check and a
/// benchmark of move generation.
void runBenchPerft();
