// Loads the built module and treats it as many hosts do, none of them careful: what is done is
// drawn by lot, and the same seed draws the same again.
#include "tests/module/soak/Actions.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <sstream>
#include <utility>

namespace {

using namespace Quorvant::Soak;

struct Run {
    uint64_t seed = 0;
    int steps = 500;
    bool editors = false;
    int patience = 120;  // seconds that a step may take
    std::string log;
};

const Action& draw(Chance& chance, bool editors) {
    const auto weight = editors ? &Action::weightWithEditors : &Action::weight;
    int sum = 0;
    for (const Action& action : allActions()) sum += action.*weight;
    int lot = chance.below(sum);
    for (const Action& action : allActions())
        if ((lot -= action.*weight) < 0) return action;
    return allActions().front();
}

void take(const Run& run, Journal& journal) {
    Scene scene{Chance(run.seed), journal, run.editors, {}, {}, {}};
    scene.guests.push_back(Guest::make(journal));
    int who = 0;
    for (int step = 0; step < run.steps; ++step) {
        const Action& action = draw(scene.chance, run.editors);
        // A player stays at one for a while.
        const int count = static_cast<int>(scene.guests.size());
        who = !run.editors || scene.chance.oneIn(50) ? scene.chance.below(count) : who % count;
        journal.begin(step, action.name, "with instance " + std::to_string(who));
        action.run(scene, *scene.guests[static_cast<size_t>(who)]);
        for (const auto& guest : scene.guests) {
            auto& log = guest->plugin->editLog();
            for (const auto& misuse : log.misuses) journal.complain(misuse);
            log.misuses.clear();
            if (run.editors) log.edits.clear();
            for (const auto& point : std::exchange(guest->reported, {}))
                guest->plugin->controller()->setParamNormalized(point.id, point.value);
        }
    }
}

std::string summary(const Run& run, const Journal& journal) {
    std::ostringstream line;
    line << "soak: seed " << run.seed << ", " << run.steps << " steps, " << journal.instances
         << " instances, " << journal.frames << " frames, " << journal.points << " points, sound "
         << std::hex << journal.sound << std::dec;
    for (const auto& [name, count] : journal.actions()) line << ", " << name << " " << count;
    line << ", complaints " << journal.complaints();
    return line.str();
}

// Nobody's own presets and settings, and no programs that show files and dialogs.
void leaveHome([[maybe_unused]] const std::filesystem::path& folder) {
#ifndef _WIN32
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    setenv("HOME", folder.c_str(), 1);
    setenv("PATH", folder.c_str(), 1);
    for (const char* other : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        unsetenv(other);
#endif
}

struct Outcome {
    bool content;  // nothing to complain of
    uint64_t sound;
    std::string summary;
};

Outcome soak(const Run& run) {
    Journal journal(run.seed, run.log, std::chrono::seconds(run.patience));
    take(run, journal);
    return {journal.complaints() == 0, journal.sound, summary(run, journal)};
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Treats the built plug-in as careless hosts do.");
    Run run;
    run.seed = std::random_device()();
    bool twice = false;
    app.add_option("--seed", run.seed,
                   "Does the same as the run of that seed (default: a fresh one)");
    app.add_option("--steps", run.steps, "How much is done")->check(CLI::PositiveNumber);
    app.add_option("--log", run.log, "Where each step is written before it is taken");
    app.add_option("--patience", run.patience, "Seconds after which a step counts as hanging")
        ->check(CLI::PositiveNumber);
    app.add_flag("--editors", run.editors, "Plays in editors most of the time; needs a display");
    app.add_flag("--twice", twice, "Runs two times, which must sound the same");
    CLI11_PARSE(app, argc, argv);
    if (run.log.empty())
        run.log =
            (std::filesystem::temp_directory_path() / ("soak-" + std::to_string(run.seed) + ".log"))
                .string();

    std::cout << "soak: replay by --seed " << run.seed << " --steps " << run.steps
              << (run.editors ? " --editors" : "") << ", steps are in " << run.log << std::endl;
    const std::filesystem::path home = run.log + ".home";
    leaveHome(std::filesystem::absolute(home));
    if (!run.editors) std::cout << "soak: without --editors no editor is opened" << std::endl;
    const Outcome first = soak(run);
    std::cout << first.summary << std::endl;
    bool content = first.content;
    if (twice) {
        const Outcome second = soak(run);
        content = content && second.content && second.sound == first.sound;
        if (second.sound != first.sound)
            std::cerr << "soak: the second run sounds different: " << second.summary << std::endl;
    }
    if (content) {
        std::filesystem::remove(run.log);
        std::filesystem::remove_all(home);
    }
    return content ? EXIT_SUCCESS : EXIT_FAILURE;
}
