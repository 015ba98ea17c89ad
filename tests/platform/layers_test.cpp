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
/// linker only sees the calls that are made; this sees the includes.
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> kLayers = {"platform", "base",   "params", "board",
                                          "eval",     "search", "tools",  "uci"};

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

} // namespace
