// The random host as a program of its own, for any system and any sanitizer: the same seed draws
// the same again.
#include "fuzz/soak/Soak.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>

namespace {

// Nobody's own presets and settings, and no programs that show files and dialogs.
void leaveHome([[maybe_unused]] const std::filesystem::path& folder) {
#ifndef _WIN32
    std::filesystem::create_directories(folder);
    setenv("HOME", folder.c_str(), 1);
    setenv("PATH", folder.c_str(), 1);
    for (const char* other : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        unsetenv(other);
#endif
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Treats the built plug-in as careless hosts do.");
    uint64_t seed = std::random_device()();
    Quorvant::Soak::Course course{"", 500};
    app.add_option("--seed", seed, "Does the same as the run of that seed (default: a fresh one)");
    app.add_option("--steps", course.steps, "How much is done")->check(CLI::PositiveNumber);
    app.add_flag("--editors", course.editors, "Plays in editors most of the time, on a display");
    app.add_flag("--tell", course.tells, "Tells each step before it is taken");
    CLI11_PARSE(app, argc, argv);
    course.replay = "--seed " + std::to_string(seed) + (course.editors ? " --editors" : "");
    std::cout << "soak: seed " << seed << ", replay by " << course.replay << " --steps "
              << course.steps << std::endl;

    const auto name = "soak-" + std::to_string(seed) + (course.editors ? "-editors" : "");
    const auto home = std::filesystem::temp_directory_path() / name;
    std::filesystem::remove_all(home);
    leaveHome(home);
    Quorvant::Soak::run(Quorvant::Soak::Dice(seed), course);
    std::filesystem::remove_all(home);
    return EXIT_SUCCESS;
}
