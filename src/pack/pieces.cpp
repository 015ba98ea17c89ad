#include "pack/pieces.h"

#include <new>

namespace Pack {

namespace {

// Pieces for each thread: while one is packed, another is read or written.
constexpr std::size_t kPiecesPerThread = 2;

/// Cuts a line off the front of the text: without its end, or all of the text if it has none.
std::string_view takeLine(std::string_view& text, bool& hasEnd) {
    const std::size_t end = text.find('\n');
    hasEnd = end != std::string_view::npos;
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(hasEnd ? end + 1 : text.size());
    return line;
}

void packLines(RowPacker& packer, Piece& piece) {
    std::string_view text(piece.text.data(), piece.size);
    while (!text.empty()) {
        bool hasEnd = false;
        const std::string_view line = takeLine(text, hasEnd);
        piece.badLine = line;
        piece.fault = hasEnd ? packer.add(line, piece.last, piece.rows) : Fault::NoLine;
        if (piece.fault != Fault::None)
            return;
        if (piece.lines++ == 0)
            piece.first = piece.last;
    }
}

} // namespace

void packPiece(RowPacker& packer, Piece& piece) {
    piece.rows.clear();
    piece.last = {};
    piece.lines = 0;
    piece.fault = Fault::None;
    try {
        packLines(packer, piece);
    } catch (const std::bad_alloc&) {
        piece.fault = Fault::NoMemory;
    }
}

PackingThreads::PackingThreads(std::size_t threads, const EntryReader& reader)
    : pieces_(kPiecesPerThread * threads + 1), isDone_(pieces_.size()) {
    for (std::size_t i = 0; i < threads; ++i) // here, where running out of memory is told
        packers_.push_back(std::make_unique<RowPacker>(reader));
    threads_.reserve(threads);
    try {
        for (const auto& packer : packers_)
            threads_.emplace_back([this, &packer] { work(*packer); });
    } catch (...) {
        stop();
        throw;
    }
}

PackingThreads::~PackingThreads() {
    stop();
}

void PackingThreads::stop() {
    {
        const std::lock_guard lock(mutex_);
        isStopped_ = true;
    }
    workCame_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
}

void PackingThreads::handIn() {
    {
        const std::lock_guard lock(mutex_);
        isDone_[handedIn_++ % pieces_.size()] = false;
    }
    workCame_.notify_one();
}

Piece& PackingThreads::collect() {
    const std::size_t place = collected_++ % pieces_.size();
    std::unique_lock lock(mutex_);
    workDone_.wait(lock, [&] { return isDone_[place]; });
    return pieces_[place];
}

void PackingThreads::work(RowPacker& packer) {
    for (;;) {
        std::unique_lock lock(mutex_);
        workCame_.wait(lock, [this] { return isStopped_ || taken_ != handedIn_; });
        if (isStopped_)
            return;
        const std::size_t place = taken_++ % pieces_.size();
        lock.unlock();
        packPiece(packer, pieces_[place]);
        lock.lock();
        isDone_[place] = true;
        workDone_.notify_one();
    }
}

} // namespace Pack
