#pragma once

#include "pack/rows.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

namespace Pack {

/// Lines of data, and what became of them.
struct Piece {
    static constexpr std::size_t kBytes = std::size_t{1} << 20; // no line is longer

    std::vector<char> text = std::vector<char>(kBytes);
    std::size_t size = 0; // of the text

    Rows rows;
    Place first; // of the first row and of the last
    Place last;
    std::uint64_t lines = 0; // packed
    Fault fault = Fault::None;
    std::string_view badLine; // the one behind those
};

/// Packs the lines of a piece, up to the first that cannot be packed.
void packPiece(RowPacker& packer, Piece& piece);

/// Threads that pack pieces, handed in and given back in order.
class PackingThreads {
  public:
    /// Starts the threads. Throws what the system's refusal throws.
    PackingThreads(std::size_t threads, const EntryReader& reader);
    ~PackingThreads();
    PackingThreads(const PackingThreads&) = delete;
    PackingThreads& operator=(const PackingThreads&) = delete;

    /// Whether `space` would give a piece that `collect` has to give back before.
    bool isFull() const { return handedIn_ - collected_ == pieces_.size(); }
    bool isEmpty() const { return handedIn_ == collected_; }

    /// The piece to hand in next.
    Piece& space() { return pieces_[handedIn_ % pieces_.size()]; }
    void handIn();

    /// Waits for the oldest piece that was handed in. It is the caller's until the next call.
    Piece& collect();

  private:
    void work(RowPacker& packer);
    void stop();

    std::vector<std::unique_ptr<RowPacker>> packers_; // of the threads
    // Those of number `taken_` to `handedIn_` wait for a thread.
    std::vector<Piece> pieces_;
    std::vector<char> isDone_;
    std::size_t handedIn_ = 0;
    std::size_t taken_ = 0;
    std::size_t collected_ = 0;
    bool isStopped_ = false;
    std::mutex mutex_;
    std::condition_variable workCame_;
    std::condition_variable workDone_;
    std::vector<std::thread> threads_;
};

} // namespace Pack
