#include "tools/corvane-host/Plot.h"

#include "tools/corvane-host/PartialFile.h"
#include "tools/corvane-host/Picture.h"
#include "tools/corvane-host/Report.h"
#include "tools/hosting/Text.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>

extern char** environ;

namespace Quorvant::Hosting {

namespace {

constexpr size_t kColumns = 1000, kRows = 200;
constexpr double kLeft = 0.07, kRight = 0.93;  // of all panels, in widths of the picture
constexpr double kDeepestReduction = 60.0;     // dB

// From the picture's bottom, in heights of it.
struct Panel {
    double low, high;
};
constexpr Panel kInputPanel = {0.800, 0.925};
constexpr Panel kOutputPanel = {0.635, 0.760};
constexpr Panel kSpectrumPanel = {0.235, 0.595};
constexpr Panel kReductionPanel = {0.055, 0.195};

using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

FilePtr nameless() {
    return {std::tmpfile(), std::fclose};
}

// Runs gnuplot, directly and without the user's settings. Gives its exit status, or an error where
// it isn't to be had.
Result<int> runGnuplot(std::vector<std::string> arguments, int in, int out, int errors) {
    arguments.insert(arguments.begin(), {"gnuplot", "-d"});
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, 0);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    posix_spawn_file_actions_adddup2(&actions, errors, 2);
    pid_t child = 0;
    const int failure =
        posix_spawnp(&child, "gnuplot", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure == ENOENT)
        return Error{"plots are drawn by gnuplot, which is not installed (Debian: gnuplot-nox)"};
    if (failure != 0) return Error{std::string("cannot run gnuplot: ") + std::strerror(failure)};
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// gnuplot's own words, which begin with the line that it choked on.
std::string lastLine(FILE* file) {
    std::rewind(file);
    std::string last;
    char line[512];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        std::string text(line);
        std::erase_if(text, [](char c) { return c == '\n' || c == '\t'; });
        if (text.find_first_not_of(" ^") != std::string::npos) last = text;
    }
    return last;
}

// A text for gnuplot, which takes it as it stands.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'') result += c;
        if (static_cast<unsigned char>(c) >= ' ') result += c;
    }
    return result + '\'';
}

double secondsOfColumn(const Picture& picture, size_t column) {
    return picture.seconds * (static_cast<double>(column) + 0.5) /
           static_cast<double>(std::max<size_t>(picture.envelope.size(), 1));
}

// 0.25 or 1, 2, 5 times a power of ten, and at most ten of them.
double tickStep(double seconds) {
    const double least = std::max(seconds, 1e-3) / 10.0;
    const double power = std::pow(10.0, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= least) return factor * power;
    return 10.0 * power;
}

void addEnvelope(std::ostream& script, const char* name, const Picture& picture) {
    script << name << " << EOD\n";
    for (size_t column = 0; column < picture.envelope.size(); ++column)
        script << secondsOfColumn(picture, column) << ' ' << picture.envelope[column].low << ' '
               << picture.envelope[column].high << '\n';
    if (picture.envelope.empty()) script << "0 0 0\n";
    script << "EOD\n";
}

void addSpectrogram(std::ostream& script, const Spectrogram& spectrogram) {
    script << "$spectrum << EOD\n";
    for (size_t row = 0; row < spectrogram.rows; ++row) {
        for (size_t column = 0; column < spectrogram.columns; ++column)
            script << number(spectrogram.decibels[row * spectrogram.columns + column], 1) << ' ';
        script << '\n';
    }
    if (spectrogram.rows == 0) script << "-100 -100\n-100 -100\n";
    script << "EOD\n";
}

// The columns of the readings that are gain reductions, as 1 less the gain factor.
std::vector<size_t> reductionColumns(const Readings& readings) {
    std::vector<size_t> found;
    for (size_t column = 0; column < readings.columns.size(); ++column)
        if (readings.columns[column].title.ends_with("Gain Reduction")) found.push_back(column);
    return found;
}

double reductionDecibels(double reading) {
    const double gain = std::clamp(1.0 - reading, 1e-9, 1.0);
    return std::max(20.0 * std::log10(gain), -kDeepestReduction);
}

void beginPanel(std::ostream& script, const Panel& panel, const std::string& title,
                const std::string& unit) {
    script << "set tmargin at screen " << panel.high << "\nset bmargin at screen " << panel.low
           << "\nset label 1 " << quoted(title) << " at graph 0, 1 offset 0, 0.7 left noenhanced"
           << " font ',12' textcolor rgb '#303030'\nset label 2 " << quoted(unit)
           << " at screen 0.02, " << (panel.low + panel.high) / 2 << " center rotate by 90\n";
}

void addWaveform(std::ostream& script, const Panel& panel, const std::string& title,
                 const char* data, const char* colour, double peak) {
    beginPanel(script, panel, title, "level");
    script << "set yrange [" << -peak << ':' << peak << "]\nset ytics auto\nplot " << data
           << " using 1:2:3 with filledcurves notitle fc rgb '" << colour << "', " << data
           << " using 1:2 with lines notitle lw 0.6 lc rgb '" << colour << "', " << data
           << " using 1:3 with lines notitle lw 0.6 lc rgb '" << colour << "'\n";
}

void addSpectrumPanel(std::ostream& script, const Picture& picture) {
    const Spectrogram& spectrogram = picture.spectrogram;
    beginPanel(script, kSpectrumPanel, "Output spectrum (0 dB: a sine at full scale)",
               "frequency (Hz)");
    const double octaves = std::log2(spectrogram.highestFrequency / Spectrogram::kLowestFrequency);
    script << "set yrange [0:1]\nset ytics (";
    const char* separator = "";
    for (const double frequency : {50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000}) {
        const double place = std::log2(frequency / Spectrogram::kLowestFrequency) / octaves;
        if (place > 1.0 + 1e-9) break;
        const bool thousands = frequency >= 1000.0;
        script << separator << '\'' << number(thousands ? frequency / 1000.0 : frequency, 0)
               << (thousands ? "k" : "") << "' " << place;
        separator = ", ";
    }
    const auto columns = static_cast<double>(std::max<size_t>(spectrogram.columns, 2));
    const auto rows = static_cast<double>(std::max<size_t>(spectrogram.rows, 2));
    script << ")\nunset grid\nset cbrange [" << Spectrogram::kFloor << ":0]\n"
           << "set colorbox user origin 0.94, " << kSpectrumPanel.low << " size 0.012, "
           << kSpectrumPanel.high - kSpectrumPanel.low << "\nset cbtics 20\nplot $spectrum matrix "
           << "using (($1 + 0.5) * " << picture.seconds / columns << "):(($2 + 0.5) / " << rows
           << "):3 with image notitle\nunset colorbox\nset grid\n";
}

void addReductionPanel(std::ostream& script, const Readings& readings) {
    beginPanel(script, kReductionPanel, "Gain reduction", "dB");
    script << "set xlabel 'time (s)' offset 0, 0.4\nset format x '%g'\n"
           << "set ytics auto\n";
    const auto columns = reductionColumns(readings);
    if (columns.empty()) {
        script << "set yrange [-12:1]\nset label 3 'the plug-in reports none' at graph 0.5, 0.5 "
               << "center textcolor rgb '#808080'\nplot NaN notitle\n";
        return;
    }
    double deepest = -3.0;
    script << "$reduction << EOD\n";
    for (const auto& row : readings.rows) {
        script << row.seconds;
        for (const size_t column : columns) {
            const bool known = column < row.values.size() && row.values[column];
            const double level = known ? reductionDecibels(*row.values[column]) : 0.0;
            deepest = std::min(deepest, level);
            script << ' ' << number(level, 3);
        }
        script << '\n';
    }
    script << "EOD\nset yrange [" << deepest * 1.05 << ":" << -0.05 * deepest
           << "]\nset key at graph 1, 1.18 right top horizontal noenhanced\nplot ";
    constexpr const char* kColours[] = {"#c0392b", "#2471a3", "#7d3c98", "#117a65"};
    for (size_t i = 0; i < columns.size(); ++i)
        script << (i > 0 ? ", " : "") << "$reduction using 1:" << i + 2 << " with lines lw 1.6 lc "
               << "rgb '" << kColours[i % std::size(kColours)] << "' title "
               << quoted(readings.columns[columns[i]].title);
    script << '\n';
}

double peakOf(const Picture& picture) {
    double peak = 0.0;
    for (const Range& range : picture.envelope) peak = std::max({peak, range.high, -range.low});
    return peak;
}

std::string scriptFor(const PlotSubject& subject, const Picture& input, const Picture& output) {
    std::ostringstream script;
    script.imbue(std::locale::classic());
    addEnvelope(script, "$input", input);
    addEnvelope(script, "$output", output);
    addSpectrogram(script, output.spectrogram);
    const double seconds = std::max({input.seconds, output.seconds, 1e-3});
    // Both waveforms on one scale, so that they can be compared.
    const double peak = std::max({peakOf(input), peakOf(output), 1e-3}) * 1.05;
    script << "set terminal pngcairo size " << kPlotWidth << ',' << kPlotHeight
           << " font 'DejaVu Sans,10' background rgb 'white'\n"
           << "set multiplot title " << quoted(subject.title) << " font ',15' noenhanced\n"
           << "set lmargin at screen " << kLeft << "\nset rmargin at screen " << kRight << '\n'
           << "set xrange [0:" << seconds << "]\nset xtics " << tickStep(seconds)
           << " nomirror\nset format x ''\nset border 3 lc rgb '#606060'\nset tics out nomirror\n"
           << "set grid lc rgb '#c8c8c8' lw 0.8\nunset colorbox\n"
           << "set palette defined (0 '#000004', 0.2 '#280b54', 0.4 '#65156e', 0.55 '#9f2a63', "
           << "0.7 '#d44842', 0.82 '#f57d15', 0.92 '#fac228', 1 '#fcffa4')\n";
    addWaveform(script, kInputPanel, "Input", "$input", "#5d6d7e", peak);
    addWaveform(script, kOutputPanel, "Output", "$output", "#1f618d", peak);
    addSpectrumPanel(script, output);
    addReductionPanel(script, *subject.readings);
    script << "unset multiplot\nset output\nexit\n";
    return script.str();
}

}  // namespace

Result<> checkPlot(const std::string& path) {
    if (!sameText(std::filesystem::path(path).extension().string(), ".png"))
        return Error{inQuotes(path) + " does not end in .png"};
    const auto folder = std::filesystem::path(path).parent_path();
    std::error_code failure;
    if (!folder.empty() && !std::filesystem::is_directory(folder, failure))
        return Error{"there is no folder " + inQuotes(folder.string())};
    const FilePtr nowhere = nameless();
    if (!nowhere) return Error{"there is no room for temporary files"};
    const int file = fileno(nowhere.get());
    if (auto found = runGnuplot({"--version"}, file, file, file); !found)
        return Error{found.error()};
    return {};
}

Result<> drawPlot(const std::string& path, const PlotSubject& subject) {
    auto input = lookAt(subject.input, kColumns, 0);
    if (!input) return Error{input.error()};
    auto output = lookAt(subject.output, kColumns, kRows);
    if (!output) return Error{output.error()};
    const FilePtr script = nameless();
    const FilePtr errors = nameless();
    if (!script || !errors) return Error{"there is no room for temporary files"};
    std::fputs(scriptFor(subject, *input, *output).c_str(), script.get());
    if (std::fflush(script.get()) != 0) return Error{"there is no room for temporary files"};
    std::rewind(script.get());

    PartialFile partial(path);
    const FilePtr image(std::fopen(partial.temporaryPath().c_str(), "wb"), std::fclose);
    if (!image) return Error{"cannot write " + inQuotes(path) + ": " + std::strerror(errno)};
    auto status =
        runGnuplot({"-"}, fileno(script.get()), fileno(image.get()), fileno(errors.get()));
    if (!status) return Error{status.error()};
    if (*status != 0) return Error{"gnuplot failed: " + lastLine(errors.get())};
    return partial.keep();
}

}  // namespace Quorvant::Hosting
