#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

/// The folders under src are layers: a file may include its own layer and those below it. The
/// linker only sees the calls that are made; this sees the includes. What belongs to a system, by
/// its headers or its names, belongs into the sources of the lowest layer, platform. What belongs
/// to a processor (`__BMI2__`, for example) may stand anywhere.
///
/// No layer uses the streams of the standard library, nor what is built on them: they have code
/// that runs before main, and with it a program that holds its libraries is half a megabyte larger.
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kLayers = {"platform", "base",     "params", "board",
                                          "eval",     "search",   "tools",  "uci",
                                          "pack",     "variants", "web"};

/// Place of a layer from the bottom, -1 if there is no such layer.
std::ptrdiff_t heightOf(const std::string& layer) {
    const auto found = std::find(kLayers.begin(), kLayers.end(), layer);
    return found == kLayers.end() ? -1 : found - kLayers.begin();
}

/// The quoted includes of a source text.
std::vector<std::string> includesOf(std::istream& source) {
    static const std::regex kInclude(R"(^\s*#\s*include\s*"([^"]*)\".*)");
    std::vector<std::string> includes;
    std::smatch match;
    for (std::string line; std::getline(source, line);)
        if (std::regex_match(line, match, kInclude))
            includes.push_back(match[1]);
    return includes;
}

/// Whether a header is the system's: those of C++ have names without ".h" or a folder.
bool isSystemHeader(const std::string& name) {
    return name == "csignal" || name.find_first_of("./") != std::string::npos;
}

/// The system headers and the names of one system or another that a source text uses. Comments do
/// not count.
std::vector<std::string> systemParts(std::istream& source) {
    static const std::regex kInclude(R"(^\s*#\s*include\s*<([^>]*)>.*)");
    static const std::regex kName(
        R"(\b(__linux__|__linux|__gnu_linux__|__ANDROID__|__APPLE__|__MACH__|__unix__|__unix)"
        R"(|_WIN\d+|WIN32|__MINGW\w*|__CYGWIN__|_MSC_VER|__\w+BSD__|__EMSCRIPTEN\w*|__wasm\w*)"
        R"(|__GLIBC__|_\w+_SOURCE|_POSIX_\w+|_SC_\w+|MADV_\w+|RLIMIT_\w+|SIG(PIPE|XFSZ|INT|TERM|SEGV|ALRM|_[A-Z]+)|O_[A-Z]+)"
        R"(|STD(IN|OUT|ERR)_FILENO|pthread_\w+)\b)");
    std::vector<std::string> parts;
    std::smatch match;
    for (std::string line; std::getline(source, line);) {
        if (std::regex_match(line, match, kInclude)) {
            if (isSystemHeader(match[1]))
                parts.push_back('<' + match[1].str() + '>');
            continue;
        }
        line.erase(std::min(line.find("//"), line.size()));
        for (std::sregex_iterator name(line.begin(), line.end(), kName), end; name != end; ++name)
            parts.push_back((*name)[1]);
    }
    return parts;
}

/// The headers of streams, and of what is built on them, that a source text includes.
std::vector<std::string> streamHeaders(std::istream& source) {
    static const std::regex kInclude(
        R"(^\s*#\s*include\s*<(ios|iosfwd|iostream|istream|ostream|fstream|sstream|strstream|spanstream)"
        R"(|syncstream|streambuf|iomanip|locale|codecvt|regex|filesystem)>.*)");
    std::vector<std::string> headers;
    std::smatch match;
    for (std::string line; std::getline(source, line);)
        if (std::regex_match(line, match, kInclude))
            headers.push_back(match[1]);
    return headers;
}

/// The includes that a file of `layer` must not have: of a higher layer, or of no layer at all.
std::vector<std::string> refusedIncludes(const std::string& layer, std::istream& source) {
    std::vector<std::string> refused;
    for (const std::string& include : includesOf(source)) {
        const std::ptrdiff_t height = heightOf(include.substr(0, include.find('/')));
        if (height < 0 || height > heightOf(layer))
            refused.push_back(include);
    }
    return refused;
}

std::vector<fs::path> sourceFiles() {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(MORVANE_SOURCE_DIR))
        if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp")
            files.push_back(entry.path());
    return files;
}

std::string layerOf(const fs::path& file) {
    return file.lexically_relative(MORVANE_SOURCE_DIR).begin()->string();
}

TEST(Layers, IncludeNothingFromAbove) {
    for (const fs::path& file : sourceFiles()) {
        std::ifstream source(file);
        ASSERT_TRUE(source.is_open()) << file;
        for (const std::string& include : refusedIncludes(layerOf(file), source))
            ADD_FAILURE() << file << " includes " << include;
    }
}

TEST(Layers, OnlySourcesOfThePlatformKnowTheSystem) {
    std::size_t used = 0;
    for (const fs::path& file : sourceFiles()) {
        std::ifstream source(file);
        ASSERT_TRUE(source.is_open()) << file;
        const std::vector<std::string> parts = systemParts(source);
        if (layerOf(file) == "platform" && file.extension() == ".cpp")
            used += parts.size();
        else
            for (const std::string& part : parts)
                ADD_FAILURE() << file << " knows the system by " << part;
    }
    EXPECT_GT(used, 0U);
}

TEST(Layers, UseNoStreams) {
    for (const fs::path& file : sourceFiles()) {
        std::ifstream source(file);
        ASSERT_TRUE(source.is_open()) << file;
        for (const std::string& header : streamHeaders(source))
            ADD_FAILURE() << file << " includes <" << header
                          << ">: code that runs before main, and half a megabyte of it";
    }
}

TEST(Layers, AreTheFoldersOfTheSourceTree) {
    std::set<std::string> found;
    for (const fs::path& file : sourceFiles())
        found.insert(layerOf(file));
    EXPECT_EQ(found, std::set<std::string>(kLayers.begin(), kLayers.end()));
}

TEST(Layers, RefuseAnIncludeFromAboveOrFromNoLayer) {
    std::istringstream source("#include \"board/board.h\"\n"
                              "#include \"eval/evaluate.h\"\n"
                              "  #  include \"search/tt.h\" // why\n"
                              "#include <uci/system.h>\n"
                              "#include \"base/outputline.h\"\n"
                              "#include \"board.h\"\n"
                              "#include \"../uci/uci.h\"\n");
    EXPECT_EQ(
        refusedIncludes("board", source),
        (std::vector<std::string>{"eval/evaluate.h", "search/tt.h", "board.h", "../uci/uci.h"}));
}

TEST(Layers, RefuseHeadersOfStreams) {
    std::istringstream source("#include <string>\n"
                              "#include <iostream>\n"
                              "  # include <fstream> // why\n"
                              "#include <ios>\n"
                              "#include \"base/ios.h\"\n"
                              "// #include <sstream>\n"
                              "#include <filesystem>\n"
                              "#include <iterator>\n");
    EXPECT_EQ(streamHeaders(source),
              (std::vector<std::string>{"iostream", "fstream", "ios", "filesystem"}));
}

TEST(Layers, RefuseHeadersAndNamesOfASystem) {
    std::istringstream source("#include <algorithm>\n"
                              "#include <cstdio>\n"
                              "#include <unistd.h>\n"
                              "# include <sys/mman.h> // why\n"
                              "#include <csignal>\n"
                              "#if defined(__linux__) || defined(_WIN32)\n"
                              "#ifdef __BMI2__ // not __APPLE__\n"
                              "    madvise(memory, size, MADV_HUGEPAGE);\n"
                              "    std::signal(SIGPIPE, handler);\n"
                              "    const SIGNATURE signature{};\n"
                              "    pthread_t thread;\n"
                              "#ifndef __EMSCRIPTEN__\n");
    EXPECT_EQ(
        systemParts(source),
        (std::vector<std::string>{"<unistd.h>", "<sys/mman.h>", "<csignal>", "__linux__", "_WIN32",
                                  "MADV_HUGEPAGE", "SIGPIPE", "pthread_t", "__EMSCRIPTEN__"}));
}

} // namespace
