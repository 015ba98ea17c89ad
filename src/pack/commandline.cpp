#include "pack/packer.h"

#include "base/files.h"
#include "base/output.h"
#include "base/parse.h"
#include "pack/messages.h"
#include "pack/weights.h"
#include "platform/console.h"
#include "platform/thread.h"
#include "uci/startup.h"

#include <cstdlib>
#include <new>
#include <string_view>
#include <system_error>

extern const char* const kRevision; // written at each build, see cmake/revision.cmake

namespace Pack {

namespace {

constexpr int kMostThreads = 1024;
constexpr int kWrongCall = 2;

struct Options {
    std::string out;
    std::string listing;
    std::size_t threads = usableCores();
};

bool parseThreads(std::string_view text, std::size_t& threads) {
    int number = 0;
    if (!parseIntStrict(text, number) || number < 1 || number > kMostThreads)
        return false;
    threads = static_cast<std::size_t>(number);
    return true;
}

bool parseOptions(std::span<const std::string_view> words, Options& options) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool hasValue = i + 1 < words.size();
        if (words[i] == "--listing" && hasValue)
            options.listing = words[++i];
        else if (words[i] == "--threads" && hasValue) {
            if (!parseThreads(words[++i], options.threads))
                return false;
        } else if (words[i].starts_with('-') || !options.out.empty())
            return false;
        else
            options.out = words[i];
    }
    return !options.out.empty() && !options.listing.empty();
}

int fail(std::string_view message) {
    Output::writeError(std::string(Messages::kName) + std::string(message) + "\n");
    return EXIT_FAILURE;
}

/// Reads a whole file of text, which must not be as long as the longest line.
bool readText(const std::string& path, std::string& text) {
    using Status = Files::LineReader::Status;
    Files::LineReader reader;
    if (!reader.open(path))
        return false;
    std::string_view line;
    Status status = Status::Line;
    while ((status = reader.next(line)) == Status::Line && text.size() < reader.kLongestLine)
        text.append(line).append("\n");
    return status == Status::End;
}

int printCells() {
    const std::string text = "{\"format\": " + std::to_string(kFormat) + ", \"revision\": \"" +
                             kRevision + "\", \"cells\": " + cellsJson() + "}\n";
    return Output::tryWrite(text) ? EXIT_SUCCESS : fail(Messages::kReportNotWritten);
}

std::string report(const Totals& totals) {
    return "{\"rows\": " + std::to_string(totals.rows) +
           ", \"games\": " + std::to_string(totals.games) +
           ", \"scores\": " + (totals.scores ? "true" : "false") +
           ", \"bytes\": " + std::to_string(totals.bytes) + "}\n";
}

int pack(const Options& options) {
    std::string text;
    if (!readText(options.listing, text))
        return fail(Messages::listingNotRead(options.listing));
    std::array<int, Tune::NPARAMS> weights{};
    if (!parseListing(text, weights))
        return fail(Messages::noListing(options.listing));
    initTables();
    const auto reader = std::make_unique<EntryReader>(weights);
    Totals totals;
    const std::string fault = packAll(Console::read, options.out, *reader, options.threads, totals);
    if (!fault.empty())
        return fail(fault);
    if (Output::tryWrite(report(totals)))
        return EXIT_SUCCESS;
    std::remove(options.out.c_str()); // nobody has heard of it
    return fail(Messages::kReportNotWritten);
}

} // namespace

int runPacker(int argc, char** argv) {
    Output::init();
    const std::vector<std::string_view> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (words.size() == 1 && words[0] == "--cells")
        return printCells();
    Options options;
    if (!parseOptions(words, options)) {
        Output::writeError(Messages::kUsage);
        return kWrongCall;
    }
    try {
        return pack(options);
    } catch (const std::bad_alloc&) {
        return fail(Messages::kNoMemory);
    } catch (const std::system_error&) {
        return fail(Messages::kNoThread);
    }
}

} // namespace Pack
