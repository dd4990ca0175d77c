#include "platform/Folders.h"

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>

#include <string>
#else
#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#endif

namespace Quorvant {

using Path = std::filesystem::path;

#ifdef _WIN32

Path moduleFile() {
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<LPCWSTR>(&moduleFile), &module)) {
        return {};
    }
    std::wstring path(32768, L'\0');  // the longest there is
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

Path documentsFolder() {
    const wchar_t* profile = _wgetenv(L"USERPROFILE");
    return profile && *profile ? Path(profile) / "Documents" : Path();
}

Path configurationFolder() {
    return {};
}

#else

namespace {

Path absoluteFrom(const char* variable) {
    const char* text = std::getenv(variable);
    const Path path = text ? Path(text) : Path();
    return path.is_absolute() ? path : Path();
}

Path home() {
    if (auto path = absoluteFrom("HOME"); !path.empty()) return path;
    std::array<char, 4096> texts{};
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found) != 0 || !found) return {};
    return entry.pw_dir ? Path(entry.pw_dir) : Path();
}

}  // namespace

Path moduleFile() {
    Dl_info module{};
    if (dladdr(reinterpret_cast<void*>(&moduleFile), &module) == 0 || !module.dli_fname) return {};
    std::error_code error;
    Path path = std::filesystem::absolute(module.dli_fname, error);
    return error ? Path() : path;
}

Path documentsFolder() {
    const Path user = home();
    return user.empty() ? Path() : user / "Documents";
}

Path configurationFolder() {
    Path base = absoluteFrom("XDG_CONFIG_HOME");
    if (base.empty()) {
        const Path user = home();
        if (user.empty()) return {};
        base = user / ".config";
    }
    return base / "Quorvant" / "QVX77x";
}

#endif

}  // namespace Quorvant
