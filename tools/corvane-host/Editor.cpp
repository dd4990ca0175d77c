#include "tools/corvane-host/BlockBuffers.h"
#include "tools/corvane-host/Commands.h"
#include "tools/corvane-host/Phrase.h"
#include "tools/corvane-host/Screenshot.h"
#include "tools/hosting/EditorWindow.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace Quorvant::Hosting {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kFrames = 441;  // a block, 10 ms
constexpr double kPictureSeconds = 2.0;
constexpr milliseconds kAfterClick{400};  // two clicks are no double click
constexpr milliseconds kQuiet{150};       // a picture that stays for so long is done
constexpr milliseconds kHeard{200};       // in which an editor shows what it hears

// The phrase on its way through the plug-in, over and over.
class Playback {
  public:
    explicit Playback(HostedPlugin& hosted) : plugin(hosted), buffers(hosted, kFrames) {}

    Result<> play(double seconds) {
        const auto frames = static_cast<int64_t>(seconds * kPhraseRate);
        for (const int64_t end = played + frames; played + kFrames <= end;)
            if (auto done = playBlock(); !done) return done;
        return {};
    }
    // As far as the clock has come since the first call. Where it can't keep up, it plays less.
    Result<> playOn() {
        const auto now = Clock::now();
        const double due = start ? std::chrono::duration<double>(now - *start).count() : 0.0;
        start = now;
        owed = std::min(owed + due, 0.1);
        const double blocks = std::floor(owed * kPhraseRate / kFrames);
        owed -= blocks * kFrames / kPhraseRate;
        return play(blocks * kFrames / kPhraseRate + 1e-6);
    }

  private:
    Result<> playBlock() {
        auto& block = buffers.block;
        block.frames = kFrames;
        for (size_t channel = 0; !block.inputs.empty() && channel < block.inputs[0].size();
             ++channel) {
            for (int frame = 0; frame < kFrames; ++frame) {
                const auto at = static_cast<size_t>(played + frame) % (samples.size() / 2);
                block.inputs[0][channel][frame] =
                    static_cast<float>(samples[2 * at + std::min<size_t>(channel, 1)]);
            }
        }
        // What the user has turned meanwhile.
        auto& edits = plugin.editLog().edits;
        block.points.clear();
        for (const auto& edit : edits) block.points.push_back({edit.id, 0, edit.value});
        edits.clear();
        Transport transport;
        transport.tempoBpm = kPhraseTempo;
        transport.positionFrames = played;
        transport.positionBeats = static_cast<double>(played) / kPhraseRate * kPhraseTempo / 60.0;
        const auto context = makeContext(transport, kPhraseRate);
        block.context = &context;
        if (plugin.process(block) != Steinberg::kResultOk)
            return Error{"the plug-in failed on a block"};
        plugin.forwardOutputPoints();
        played += kFrames;
        return {};
    }

    HostedPlugin& plugin;
    BlockBuffers<float> buffers;
    const std::vector<double> samples = phrase();
    int64_t played = 0;
    std::optional<Clock::time_point> start;
    double owed = 0.0;  // seconds
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

Result<> drawEditor(EditorWindow& window, Playback& playback, const EditorOptions& options) {
    if (auto played = playback.play(kPictureSeconds); !played) return played;
    settledPixels(window);
    for (const EditorClick& click : options.clicks) {
        const auto x = static_cast<int>(std::lround(click.x * options.zoom / 100.0));
        const auto y = static_cast<int>(std::lround(click.y * options.zoom / 100.0));
        window.point(Pointer::Press, x, y);
        window.point(Pointer::Release, x, y);
        window.runUntil([] { return false; }, kAfterClick);
        if (auto played = playback.play(kPictureSeconds); !played) return played;
    }
    settledPixels(window);
    // Meanwhile nothing was heard, and an editor may show that.
    if (auto played = playback.play(kPictureSeconds); !played) return played;
    window.runUntil([] { return false; }, kHeard);
    const Pixels pixels = window.pixels();
    if (!hasContent(pixels)) return Error{"the editor's picture can't be read on this system"};
    return writePng(pixels, options.screenshot);
}

}  // namespace

Result<> showEditor(const PluginChoice& choice, const EditorOptions& options) {
    if (!options.screenshot.empty())
        if (auto ready = openPrivateDisplay(); !ready) return ready;
    auto opened = openPlugin(choice);
    if (!opened) return Error{opened.error()};
    HostedPlugin& plugin = **opened;
    if (auto ready = prepareAsItIs(plugin, kPhraseRate, kFrames, 32); !ready) return ready;
    if (auto applied = applySettings(plugin, choice, 32); !applied) return Error{applied.error()};
    plugin.editLog().edits.clear();
    auto window = EditorWindow::open(plugin);
    if (!window) return Error{window.error()};
    if (options.zoom != 100)
        if (auto done = (*window)->setWidth((*window)->width() * options.zoom / 100); !done)
            return done;

    Playback playback(plugin);
    if (!options.screenshot.empty()) return drawEditor(**window, playback, options);
    Result<> played;
    while (!(*window)->closedByUser() && played) {
        (*window)->runUntil([&] { return !(played = playback.playOn()); }, std::chrono::hours(1));
    }
    return played;
}

}  // namespace Quorvant::Hosting
