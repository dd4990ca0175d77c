#include "tools/corvane-host/Picture.h"

#include <fftw3.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <numbers>

namespace Quorvant::Hosting {

namespace {

constexpr double kWindowSeconds = 0.046;
constexpr double kHighestFrequency = 20000.0;  // Hz
constexpr size_t kReadFrames = 4096;

// The level of each row of the spectrogram in one window of one channel.
class Analyser {
  public:
    Analyser(double rate, double highestFrequency, size_t rowCount)
        : size(std::bit_ceil(static_cast<size_t>(rate * kWindowSeconds))),
          rows(rowCount),
          window(size),
          levels(size / 2 + 1),
          input(fftw_alloc_real(size), fftw_free),
          output(fftw_alloc_complex(size / 2 + 1), fftw_free),
          plan(fftw_plan_dft_r2c_1d(static_cast<int>(size), input.get(), output.get(),
                                    FFTW_ESTIMATE),
               fftw_destroy_plan) {
        double sum = 0.0;
        for (size_t i = 0; i < size; ++i) {
            window[i] = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) /
                                             static_cast<double>(size));
            sum += window[i];
        }
        for (double& weight : window) weight *= 2.0 / sum;  // a sine at full scale gives 1
        const double binWidth = rate / static_cast<double>(size);
        for (size_t edge = 0; edge <= rows; ++edge)
            edges.push_back(Spectrogram::kLowestFrequency / binWidth *
                            std::pow(highestFrequency / Spectrogram::kLowestFrequency,
                                     static_cast<double>(edge) / static_cast<double>(rows)));
    }

    size_t frames() const { return size; }

    // `sample(i)` gives the window's samples. Calls `put(row, decibels)` for each row.
    template <typename Sample, typename Put>
    void analyse(Sample&& sample, Put&& put) {
        for (size_t i = 0; i < size; ++i) input.get()[i] = sample(i) * window[i];
        fftw_execute(plan.get());
        for (size_t bin = 0; bin < levels.size(); ++bin) {
            const auto& [real, imaginary] = output.get()[bin];
            const double power = real * real + imaginary * imaginary;
            levels[bin] = std::max(Spectrogram::kFloor, 10.0 * std::log10(power + 1e-30));
        }
        for (size_t row = 0; row < rows; ++row) put(row, levelBetween(edges[row], edges[row + 1]));
    }

  private:
    // The highest level between two places that are counted in bins, straight between bins.
    double levelBetween(double low, double high) const {
        const auto at = [this](double place) {
            const double last = static_cast<double>(levels.size() - 1);
            const double held = std::min(place, last);
            const auto bin = static_cast<size_t>(held);
            const double right = levels[std::min(bin + 1, levels.size() - 1)];
            return std::lerp(levels[bin], right, held - std::floor(held));
        };
        double level = std::max(at(low), at(high));
        for (double bin = std::ceil(low); bin < high; bin += 1.0) level = std::max(level, at(bin));
        return level;
    }

    size_t size, rows;
    std::vector<double> window, levels, edges;
    std::unique_ptr<double, void (*)(void*)> input;
    std::unique_ptr<fftw_complex, void (*)(void*)> output;
    std::unique_ptr<fftw_plan_s, void (*)(fftw_plan)> plan;
};

// Takes a recording's frames in order and draws the picture column by column.
class Painter {
  public:
    Painter(Picture& to, const FrameSource& source, size_t columns, size_t rows)
        : picture(to),
          channels(static_cast<size_t>(source.channels())),
          total(static_cast<size_t>(source.frames())),
          analyser(source.rate(), to.spectrogram.highestFrequency, rows),
          // Far enough ahead that the first window has its middle on the first frame.
          recent(analyser.frames() / 2 * channels, 0.0),
          hop(std::clamp<size_t>(total / columns, 1, analyser.frames() / 2)) {
        picture.envelope.resize(columns);
        picture.spectrogram.columns = columns;
        picture.spectrogram.rows = rows;
        picture.spectrogram.decibels.assign(columns * rows, Spectrogram::kFloor);
    }

    void take(const double* interleaved, size_t frames) {
        for (size_t frame = 0; frame < frames; ++frame, ++drawn) {
            Range& range = picture.envelope[columnOf(drawn)];
            for (size_t channel = 0; channel < channels; ++channel) {
                const double sample = interleaved[frame * channels + channel];
                range.low = std::min(range.low, sample);
                range.high = std::max(range.high, sample);
            }
        }
        recent.insert(recent.end(), interleaved, interleaved + frames * channels);
        analyseRecent();
    }

    void finish() {
        recent.insert(recent.end(), analyser.frames() * channels, 0.0);
        analyseRecent();
    }

  private:
    size_t columnOf(size_t frame) const {
        return std::min(frame * picture.envelope.size() / total, picture.envelope.size() - 1);
    }

    void analyseRecent() {
        if (picture.spectrogram.rows == 0) {
            recent.clear();
            return;
        }
        size_t start = 0;  // frames into `recent`
        for (; recent.size() / channels >= start + analyser.frames() && middle < total;
             start += hop, middle += hop) {
            for (size_t channel = 0; channel < channels; ++channel)
                analyser.analyse([&](size_t i) { return recent[(start + i) * channels + channel]; },
                                 [&](size_t row, double level) { put(row, level); });
        }
        recent.erase(recent.begin(),
                     recent.begin() + static_cast<std::ptrdiff_t>(start * channels));
    }

    // Columns that a short recording leaves without a window of their own get the one before.
    void put(size_t row, double level) {
        const auto& spectrogram = picture.spectrogram;
        const size_t first = columnOf(middle);
        const size_t last = std::max(first, columnOf(middle + hop - 1));
        for (size_t column = first; column <= last; ++column) {
            double& cell = picture.spectrogram.decibels[row * spectrogram.columns + column];
            cell = std::max(cell, level);
        }
    }

    Picture& picture;
    size_t channels, total;
    Analyser analyser;
    std::vector<double> recent;  // frames that a window may still need
    size_t hop;                  // frames from window to window
    size_t drawn = 0;            // frames in the envelope
    size_t middle = 0;           // frame in the middle of the next window
};

}  // namespace

Result<Picture> lookAt(const std::string& path, size_t columns, size_t rows) {
    auto opened = openAudioFile(path);
    if (!opened) return Error{opened.error()};
    FrameSource& source = **opened;
    Picture picture;
    picture.seconds = static_cast<double>(source.frames()) / source.rate();
    picture.spectrogram.highestFrequency = std::min(kHighestFrequency, 0.5 * source.rate());
    if (source.frames() < 1) return picture;

    Painter painter(picture, source, columns, rows);
    std::vector<double> frames(kReadFrames * static_cast<size_t>(source.channels()));
    while (true) {
        auto got = source.read(frames.data(), kReadFrames);
        if (!got) return Error{got.error()};
        painter.take(frames.data(), *got);
        if (*got < kReadFrames) break;
    }
    painter.finish();
    return picture;
}

}  // namespace Quorvant::Hosting
