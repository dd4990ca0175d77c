// What the running process holds of the system's resources.
#pragma once

#include <cstddef>

#ifdef _WIN32
#include <windows.h>
// After windows.h, whose types it uses.
#include <tlhelp32.h>
#else
#include <malloc.h>

#include <filesystem>
#include <iterator>
#endif

namespace Quorvant::Test {

struct ProcessUse {
    std::size_t heapBytes;  // in use by the process's allocations
    std::size_t handles;    // open files and the like; Wine doesn't tell and says 0
    std::size_t threads;
};

#ifdef _WIN32

inline ProcessUse currentUse() {
    DWORD handles = 0;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    std::size_t threads = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++threads;
    CloseHandle(snapshot);
    std::size_t heap = 0;
    PROCESS_HEAP_ENTRY block{};
    while (HeapWalk(GetProcessHeap(), &block))
        if (block.wFlags & PROCESS_HEAP_ENTRY_BUSY) heap += block.cbData;
    return {heap, handles, threads};
}

#else

inline ProcessUse currentUse() {
    const auto count = [](const char* folder) {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder), {}));
    };
    const auto heap = mallinfo2();
    return {heap.uordblks + heap.hblkhd, count("/proc/self/fd"), count("/proc/self/task")};
}

#endif

}  // namespace Quorvant::Test
