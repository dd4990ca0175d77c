#include "platform/UserStore.h"

#include "platform/Folders.h"

#ifdef _WIN32
#include "platform/Utf8Path.h"

#include <windows.h>
#else
#include "platform/AtomicFile.h"
#endif

namespace Quorvant {

#ifdef _WIN32

namespace {

constexpr wchar_t kKey[] = L"SOFTWARE\\Quorvant\\QVX77x";

std::error_code registryError(LSTATUS status) {
    if (status == ERROR_SUCCESS) return {};
    if (status == ERROR_FILE_NOT_FOUND)
        return std::make_error_code(std::errc::no_such_file_or_directory);
    return {static_cast<int>(status), std::system_category()};
}

}  // namespace

std::error_code writeUserValue(std::string_view name, std::span<const std::byte> bytes) {
    HKEY key = nullptr;
    LSTATUS status =
        RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) return registryError(status);
    status = RegSetValueExW(key, pathFromUtf8(name).c_str(), 0, REG_BINARY,
                            reinterpret_cast<const BYTE*>(bytes.data()),
                            static_cast<DWORD>(bytes.size()));
    RegCloseKey(key);
    return registryError(status);
}

std::error_code readUserValue(std::string_view name, std::vector<std::byte>& bytes) {
    bytes.clear();
    HKEY key = nullptr;
    LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key);
    if (status != ERROR_SUCCESS) return registryError(status);
    const auto wideName = pathFromUtf8(name);
    // Another instance may store a larger value between asking the size and reading.
    do {
        DWORD size = 0;
        status = RegQueryValueExW(key, wideName.c_str(), nullptr, nullptr, nullptr, &size);
        if (status != ERROR_SUCCESS) break;
        bytes.resize(size);
        status = RegQueryValueExW(key, wideName.c_str(), nullptr, nullptr,
                                  reinterpret_cast<BYTE*>(bytes.data()), &size);
        if (status == ERROR_SUCCESS) bytes.resize(size);
    } while (status == ERROR_MORE_DATA);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) bytes.clear();
    if (bytes.size() > kLargestUserValue) bytes.resize(kLargestUserValue);
    return registryError(status);
}

#else

std::error_code writeUserValue(std::string_view name, std::span<const std::byte> bytes) {
    const auto folder = configurationFolder();
    if (folder.empty()) return std::make_error_code(std::errc::no_such_file_or_directory);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) return error;
    return replaceFile(folder / name, bytes);
}

std::error_code readUserValue(std::string_view name, std::vector<std::byte>& bytes) {
    bytes.clear();
    const auto folder = configurationFolder();
    if (folder.empty()) return std::make_error_code(std::errc::no_such_file_or_directory);
    return readFile(folder / name, kLargestUserValue, bytes);
}

#endif

}  // namespace Quorvant
