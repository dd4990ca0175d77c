#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Phrase.h"
#include "tools/corvane-host/Screenshot.h"
#include "tools/hosting/EditorWindow.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>

namespace Quorvant::Hosting {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kFrames = 441;  // a block; the phrase has a whole number of them
constexpr milliseconds kBlockTime{10};
constexpr milliseconds kBehind{100};  // the most that is played at once
constexpr double kPictureSeconds = 2.0;
constexpr milliseconds kAfterClick{400};  // two clicks are no double click
constexpr milliseconds kQuiet{150};       // a picture that stays for so long is done
constexpr milliseconds kHeard{200};       // in which an editor shows what it hears

// The phrase on its way through the plug-in, over and over.
class Playback {
  public:
    explicit Playback(HostedPlugin& hosted) : plugin(hosted), buffers(hosted, kFrames) {}

    void play(double seconds) {
        for (auto left = static_cast<int64_t>(seconds * kPhraseRate); left >= kFrames;
             left -= kFrames)
            playBlock();
    }
    // As far as the clock has come since the last call. Where it can't keep up, it plays less.
    void playOn() {
        const auto now = Clock::now();
        for (start = std::max(start, now - kBehind); start + kBlockTime <= now; start += kBlockTime)
            playBlock();
    }

  private:
    void playBlock() {
        auto& block = buffers.block;
        block.frames = kFrames;
        if (!block.inputs.empty())
            buffers.setInput(0, music, static_cast<size_t>(played) % music.frames());
        // What the user has turned meanwhile.
        auto& edits = plugin.editLog().edits;
        block.points.clear();
        for (const auto& edit : edits) block.points.push_back({edit.id, 0, edit.value});
        edits.clear();
        buffers.process(played, kPhraseRate, kPhraseTempo);
        for (const ParameterPoint& point : plugin.outputPoints())
            plugin.controller()->setParamNormalized(point.id, point.value);
        played += kFrames;
    }

    HostedPlugin& plugin;
    BlockBuffers<float> buffers;
    const Audio music = phrase();
    int64_t played = 0;
    Clock::time_point start = Clock::now();  // of the next block
};

bool hasContent(const Pixels& pixels) {
    return std::ranges::any_of(pixels.values,
                               [&](uint32_t value) { return value != pixels.values.front(); });
}

// The picture once it stays as it is; what blinks is taken as it is at the end.
Pixels settledPixels(EditorWindow& window) {
    Pixels last;
    auto since = Clock::now();
    window.runUntil([&] {
        Pixels now = window.pixels();
        if (now.values != last.values) since = Clock::now();
        last = std::move(now);
        return hasContent(last) && Clock::now() - since > kQuiet;
    });
    return last;
}

void drawEditor(EditorWindow& window, Playback& playback, const EditorOptions& options) {
    playback.play(kPictureSeconds);
    settledPixels(window);
    for (const auto& click : options.clicks) {
        const auto x = static_cast<int>(std::lround(click.first * options.zoom / 100.0));
        const auto y = static_cast<int>(std::lround(click.second * options.zoom / 100.0));
        window.point(Pointer::Press, x, y);
        window.point(Pointer::Release, x, y);
        window.runUntil([] { return false; }, kAfterClick);
        playback.play(kPictureSeconds);
    }
    settledPixels(window);
    // Meanwhile nothing was heard, and an editor may show that.
    playback.play(kPictureSeconds);
    window.runUntil([] { return false; }, kHeard);
    const Pixels pixels = window.pixels();
    if (!hasContent(pixels)) throw Failure{"the editor's picture can't be read on this system"};
    writePng(pixels, options.screenshot);
}

}  // namespace

void showEditor(const PluginChoice& choice, const EditorOptions& options) {
    const auto opened = openPlugin(choice);
    HostedPlugin& plugin = *opened;
    prepareAsItIs(plugin, kPhraseRate, kFrames);
    applySettings(plugin, choice);
    plugin.editLog().edits.clear();
    if (!options.screenshot.empty()) openPrivateDisplay();
    const auto window = EditorWindow::open(plugin);
    if (options.zoom != 100 && !window->setWidth(window->width() * options.zoom / 100))
        throw Failure{"the editor can't be resized"};

    Playback playback(plugin);
    if (!options.screenshot.empty()) return drawEditor(*window, playback, options);
    while (!window->closedByUser()) {
        playback.playOn();
        window->runUntil([] { return false; }, kBlockTime);
    }
}

}  // namespace Quorvant::Hosting
