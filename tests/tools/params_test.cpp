#include "helpers.h"
#include "support/temp_files.h"
#include "tools/tune.h"
#include "tools/tuneexport.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <sstream>
#include <string>
#include <vector>

namespace {

TEST(TuneParams, ListsEveryWeightUnderAHeading) {
    const Outcome<int> found = caught(runTuneParams);
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.err, "");
    std::vector<std::string> lines;
    std::istringstream text(found.out);
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 1083U);
    EXPECT_EQ(lines[0], "# Morvane tune params: index name value  (NPARAMS=1082)");
    EXPECT_EQ(lines[1], "0 matMg_P 93");
    EXPECT_EQ(lines[1041], "1040 rookOpenEg -3");
    EXPECT_EQ(lines[1082], "1081 ksOpenFile 31");
    EXPECT_EQ(found.out.back(), '\n');
}

TEST(TuneParams, TheListReadBackIsTheWeights) {
    std::vector<int> values(Tune::NPARAMS);
    Tune::initValues(values.data());
    std::istringstream text(caught(runTuneParams).out);
    std::string heading;
    std::getline(text, heading);
    int count = 0;
    int index = 0;
    int value = 0;
    for (std::string name; text >> index >> name >> value; ++count) {
        ASSERT_EQ(index, count);
        EXPECT_EQ(name, Tune::paramName(index));
        EXPECT_EQ(value, values[static_cast<std::size_t>(index)]) << name;
    }
    EXPECT_EQ(count, Tune::NPARAMS);
    EXPECT_TRUE(text.eof());
}

/// Runs a call with standard output on a full device.
template <class Call>
Outcome<int> withoutOutput(Call call) {
    return caught([&] {
        const int before = dup(STDOUT_FILENO);
        const int full = open("/dev/full", O_WRONLY);
        dup2(full, STDOUT_FILENO);
        close(full);
        const int result = call();
        dup2(before, STDOUT_FILENO);
        close(before);
        return result;
    });
}

TEST(TuneParams, AStandardOutputThatFailsIsTold) {
    const Outcome<int> found = withoutOutput(runTuneParams);
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.err, "tuneparams: помилка запису\n");
    EXPECT_EQ(caught(runTuneParams).result, 0) << "and does not fail for ever";
}

TEST(TuneParams, AStandardOutputThatFailsHalfwayIsTold) {
    const Outcome<int> found = caught([] {
        const TempFiles::SizeLimit full(9000);
        std::signal(SIGXFSZ, SIG_IGN); // as for a disk, which sends no signal
        return runTuneParams();
    });
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.err, "tuneparams: помилка запису\n");
    EXPECT_EQ(found.out.size(), 9000U);
}

} // namespace
