#pragma once

/// Speaks UCI on standard input and output until "quit" or the end of input. Bad input is reported
/// or ignored and never ends the loop.
void uciLoop();
