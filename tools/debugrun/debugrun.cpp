/// debugrun PROGRAM [N CALL...]: runs a program as its debugger, writes every debugger output to
/// standard output as it comes, and exits with the program's exit code.
///
/// With N, kills the program before the N-th of its own calls of the named system functions: writes
/// "killed before CALL" and exits with 137.
#include <algorithm>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace {

constexpr DWORD killed = 137;

/// The calls of interest lead here, a byte each: nothing is ever mapped in the first 64 KiB.
constexpr DWORD64 trap_address = 0x1000;

struct trapped_call {
    std::string name;
    DWORD64 target;
};

struct debugged_program {
    PROCESS_INFORMATION ids{};
    DWORD64 image = 0;
    std::vector<std::string> names; ///< of the calls to trap
    u32 calls_left = 0;             ///< to let pass, and the one to kill before; 0 without traps
    std::vector<trapped_call> traps{};
};

template <typename T>
T read_at(HANDLE process, DWORD64 address) {
    T value{};
    ReadProcessMemory(process, reinterpret_cast<const void*>(address), &value, sizeof(value),
                      nullptr);
    return value;
}

/// As much of the narrow text as lies within `room` bytes.
std::string read_text(HANDLE process, DWORD64 address, SIZE_T room) {
    std::string text(room, '\0');
    SIZE_T read = 0;
    if (!ReadProcessMemory(process, reinterpret_cast<const void*>(address), text.data(), room,
                           &read)) {
        return "debugrun: unreadable text\n";
    }
    return text.substr(0, text.find('\0'));
}

/// Replaces the wanted addresses in the program's own import table, which the loader has filled.
void set_traps(debugged_program& program) {
    const HANDLE process = program.ids.hProcess;
    const DWORD64 image = program.image;
    const auto dos = read_at<IMAGE_DOS_HEADER>(process, image);
    const auto pe =
        read_at<IMAGE_NT_HEADERS64>(process, image + static_cast<DWORD64>(dos.e_lfanew));
    DWORD64 place =
        image + pe.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (;; place += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
        const auto library = read_at<IMAGE_IMPORT_DESCRIPTOR>(process, place);
        if (library.Name == 0) {
            return;
        }
        for (DWORD64 offset = 0;; offset += sizeof(DWORD64)) {
            const auto name =
                read_at<DWORD64>(process, image + library.OriginalFirstThunk + offset);
            if (name == 0) {
                break;
            }
            // Two bytes of a hint stand before the name.
            const std::string text = read_text(process, image + name + 2, 64);
            if (std::find(program.names.begin(), program.names.end(), text) ==
                program.names.end()) {
                continue;
            }
            const DWORD64 slot = image + library.FirstThunk + offset;
            const DWORD64 trap = trap_address + program.traps.size();
            program.traps.push_back({text, read_at<DWORD64>(process, slot)});
            WriteProcessMemory(process, reinterpret_cast<void*>(slot), &trap, sizeof(trap),
                               nullptr);
        }
    }
}

/// The program called a trap: it ends here, or goes on where it meant to.
void meet_trap(debugged_program& program, const trapped_call& call) {
    if (--program.calls_left == 0) {
        std::printf("killed before %s\n", call.name.c_str());
        TerminateProcess(program.ids.hProcess, killed);
        return;
    }
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    GetThreadContext(program.ids.hThread, &context);
    context.Rip = call.target;
    SetThreadContext(program.ids.hThread, &context);
}

/// Whether the exception was this program's doing.
bool handle_exception(debugged_program& program, const EXCEPTION_RECORD& record) {
    if (record.ExceptionCode == EXCEPTION_BREAKPOINT) {
        if (program.calls_left > 0 && program.traps.empty()) {
            set_traps(program);
        }
        return true;
    }
    const auto trap = reinterpret_cast<DWORD64>(record.ExceptionAddress) - trap_address;
    if (trap >= program.traps.size()) {
        return false;
    }
    meet_trap(program, program.traps[trap]);
    return true;
}

DWORD run(debugged_program& program) {
    for (;;) {
        DEBUG_EVENT event{};
        if (!WaitForDebugEvent(&event, INFINITE)) {
            return EXIT_FAILURE;
        }
        DWORD answer = DBG_CONTINUE;
        if (event.dwDebugEventCode == CREATE_PROCESS_DEBUG_EVENT) {
            program.image = reinterpret_cast<DWORD64>(event.u.CreateProcessInfo.lpBaseOfImage);
        } else if (event.dwDebugEventCode == OUTPUT_DEBUG_STRING_EVENT) {
            // The system hands it over as narrow text.
            const OUTPUT_DEBUG_STRING_INFO& info = event.u.DebugString;
            const std::string text =
                read_text(program.ids.hProcess, reinterpret_cast<DWORD64>(info.lpDebugStringData),
                          info.nDebugStringLength);
            std::fwrite(text.data(), 1, text.size(), stdout);
            std::fflush(stdout);
        } else if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) {
            return event.u.ExitProcess.dwExitCode;
        } else if (event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT &&
                   !handle_exception(program, event.u.Exception.ExceptionRecord)) {
            answer = DBG_EXCEPTION_NOT_HANDLED;
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    }
}

} // namespace

int main(int argc, char** argv) {
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    debugged_program program{};
    if (argc > 3) {
        program.calls_left = static_cast<u32>(std::strtoul(argv[2], nullptr, 10));
        program.names.assign(argv + 3, argv + argc);
    }
    if (argc < 2 || argc == 3 ||
        !CreateProcessA(nullptr, argv[1], nullptr, nullptr, TRUE, DEBUG_ONLY_THIS_PROCESS, nullptr,
                        nullptr, &start, &program.ids)) {
        std::fputs("usage: debugrun PROGRAM [N CALL...] (the program must be there)\n", stderr);
        return 125;
    }
    return static_cast<int>(run(program));
}
