// Ends a program as Windows does on demand, at once and without asking: terminate.exe MILLISECONDS
// PROGRAM [ARGUMENT...] starts it, has it ended if it runs for longer, and ends with its status.
// Arguments hold no blanks.

#include <cstdlib>
#include <string>

#include <windows.h>

int main(int argc, char** argv) {
    constexpr UINT kEnded = 70;
    if (argc < 3)
        return 2;
    std::string line = argv[2];
    for (int i = 3; i < argc; ++i)
        line.append(" ").append(argv[i]);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &child))
        return 3;
    if (WaitForSingleObject(child.hProcess, static_cast<DWORD>(std::atoi(argv[1]))) == WAIT_TIMEOUT)
        TerminateProcess(child.hProcess, kEnded); // fails if it has just ended
    WaitForSingleObject(child.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(child.hProcess, &status);
    return static_cast<int>(status);
}
