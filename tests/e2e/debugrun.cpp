/// debugrun PROGRAM: runs a program as its debugger, writes every debugger output to standard
/// output as it comes, and exits with the program's exit code.
#include <string>

#include "platform/platform.h"

namespace {

/// The text of one debugger output, read from the program's memory; the system hands it over as
/// narrow text.
std::string read_text(HANDLE process, const OUTPUT_DEBUG_STRING_INFO& info) {
    std::string text(info.nDebugStringLength, '\0');
    SIZE_T read = 0;
    if (!ReadProcessMemory(process, info.lpDebugStringData, text.data(), text.size(), &read)) {
        return "debugrun: unreadable debugger output\n";
    }
    return text.substr(0, text.find('\0'));
}

DWORD run(HANDLE process) {
    for (;;) {
        DEBUG_EVENT event{};
        if (!WaitForDebugEvent(&event, INFINITE)) { return EXIT_FAILURE; }
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == OUTPUT_DEBUG_STRING_EVENT) {
            const std::string text = read_text(process, event.u.DebugString);
            std::fwrite(text.data(), 1, text.size(), stdout);
            std::fflush(stdout);
        } else if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            return event.u.ExitProcess.dwExitCode;
        } else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT &&
                   event.u.Exception.ExceptionRecord.ExceptionCode != EXCEPTION_BREAKPOINT) {
            answer = DBG_EXCEPTION_NOT_HANDLED;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    }
}

} // namespace

int main(int argc, char** argv) {
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION program{};
    if (argc != 2 || !CreateProcessA(nullptr, argv[1], nullptr, nullptr, TRUE, DEBUG_ONLY_THIS_PROCESS,
                                     nullptr, nullptr, &start, &program)) {
        std::fputs("usage: debugrun PROGRAM (which must be there)\n", stderr);
        return 125;
    }
    return static_cast<int>(run(program.hProcess));
}
