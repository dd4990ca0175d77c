// A folder of its own for each test that writes files.
#pragma once

#include "platform/Utf8Path.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace Quorvant {

// Created empty, removed with all it holds.
class TestFolder {
  public:
    TestFolder() {
        // The same test may run in another build at this moment.
        path = std::filesystem::temp_directory_path() /
               ("corvane-test-" + std::to_string(std::random_device()()));
        std::filesystem::create_directories(path);
    }
    ~TestFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::filesystem::path operator/(std::string_view name) const {
        return path / pathFromUtf8(name);
    }

    std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path),
                                                      std::filesystem::directory_iterator()));
    }

    std::filesystem::path path;
};

inline void writeBytes(const std::filesystem::path& file, std::string_view bytes) {
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<long>(bytes.size()));
}

inline std::string readBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace Quorvant
