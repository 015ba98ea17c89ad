#include "uci/startup.h"

#include "base/output.h"
#include "board/attacks.h"
#include "board/zobrist.h"
#include "eval/endgame.h"
#include "eval/masks.h"
#include "search/search.h"
#include "search/tt.h"
#include "uci/messages.h"
#include "uci/options.h"

#include <new>
#include <system_error>

void initTables() {
    Zobrist::init();
    Attacks::init();
    Eval::init();
    Endgame::init();
}

void initEngine() {
    initTables();
    Search::init();
    std::uint64_t mb = kDefaultHashMb; // less where the system does not give so much
    while (!gTT.resize(mb) && mb > 1)
        mb /= 2;
}

int runEngine(const std::function<int()>& work) {
    try {
        initEngine();
        return work();
    } catch (const std::system_error&) {
        Output::writeError(Messages::kNoThread);
    } catch (const std::bad_alloc&) {
        Output::writeError(Messages::kNoMemory);
    }
    return 1;
}
