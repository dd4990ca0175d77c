#include "tools/corvane-host/Plot.h"

#include "tools/corvane-host/PartialFile.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <sstream>

#ifdef _WIN32
#define popen _popen
#define pclose _pclose
constexpr const char* kNowhere = " >NUL 2>&1";
#else
constexpr const char* kNowhere = " >/dev/null 2>&1";
#endif

namespace Quorvant::Hosting {

namespace {

constexpr size_t kColumns = 1000;

// What gnuplot is told after the data and the values that differ from plot to plot.
constexpr const char* kScript = R"(
set terminal pngcairo size 1600,1000 font 'DejaVu Sans,10' background rgb 'white'
set multiplot layout 3,1 title name font ',15' noenhanced
set lmargin 10; set rmargin 10; set xrange [0:seconds]; set border 3; set tics nomirror; set grid
set style fill solid; set ylabel 'level'; set yrange [-peak:peak]
set title 'Input'; plot $input using 1:2:3 with filledcurves notitle lc rgb '#5d6d7e'
set title 'Output'; plot $output using 1:2:3 with filledcurves notitle lc rgb '#1f618d'
)";
constexpr const char* kReductionScript = R"(
set title 'Gain reduction'; set ylabel 'dB'; set xlabel 'time (s)'; set yrange [*<-3:0.2]
set key bottom right
)";

void addWaveform(std::ostream& script, const char* name, const Audio& audio) {
    script << name << " << EOD\n";
    const size_t total = audio.samples.size();
    for (size_t column = 0; column < kColumns && total > 0; ++column) {
        const size_t from = total * column / kColumns;
        const size_t to = std::max(from + 1, total * (column + 1) / kColumns);
        const auto [low, high] =
            std::minmax_element(audio.samples.begin() + static_cast<std::ptrdiff_t>(from),
                                audio.samples.begin() + static_cast<std::ptrdiff_t>(to));
        script << static_cast<double>(from) / (audio.rate * audio.channels) << ' ' << *low << ' '
               << *high << '\n';
    }
    script << (total > 0 ? "EOD\n" : "0 0 0\nEOD\n");
}

// The columns of the readings that are gain reductions, as 1 less the gain factor.
void addReductions(std::ostream& script, const Readings& readings) {
    std::string plots;
    for (size_t column = 0; column < readings.columns.size(); ++column) {
        const std::string& title = readings.columns[column].title;
        if (!title.ends_with("Gain Reduction")) continue;
        const std::string name = "$reduction" + std::to_string(column);
        script << name << " << EOD\n";
        for (const auto& row : readings.rows) {
            const bool known = column < row.values.size() && row.values[column];
            const double gain = std::clamp(known ? 1.0 - *row.values[column] : 1.0, 1e-3, 1.0);
            script << row.seconds << ' ' << 20.0 * std::log10(gain) << '\n';
        }
        script << "EOD\n";
        appendItem(plots, name + " with lines title " + inQuotes(title));
    }
    if (!plots.empty()) script << kReductionScript << "plot " << plots << '\n';
}

float peakOf(const Audio& audio) {
    float peak = 1e-3f;
    for (const float sample : audio.samples) peak = std::max(peak, std::abs(sample));
    return peak;
}

// A text for gnuplot, which takes it as it stands.
std::string literal(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\'') result += c;
        if (static_cast<unsigned char>(c) >= ' ') result += c;
    }
    return inQuotes(result);
}

// Without the user's settings. False where it fails.
bool runGnuplot(const std::string& script) {
    FILE* gnuplot = popen((std::string("gnuplot -d") + kNowhere).c_str(), "w");
    if (gnuplot == nullptr) return false;
    const bool given = std::fputs(script.c_str(), gnuplot) >= 0;
    return pclose(gnuplot) == 0 && given;
}

}  // namespace

void checkPlot(const std::string& path) {
    if (!sameText(std::filesystem::path(path).extension().string(), ".png"))
        throw Failure{inQuotes(path) + " does not end in .png"};
    checkFolder(path);
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);  // a program that isn't there doesn't read
#endif
    if (!runGnuplot("exit\n"))
        throw Failure{"plots are drawn by gnuplot, which is not installed (Debian: gnuplot-nox)"};
}

void drawPlot(const std::string& path, const std::string& title, const Audio& input,
              const Audio& output, const Readings& readings) {
    PartialFile partial(path);
    std::ostringstream script;
    addWaveform(script, "$input", input);
    addWaveform(script, "$output", output);
    const auto frames = static_cast<double>(std::max(input.frames(), output.frames()));
    // Both waveforms on one scale, so that they can be compared.
    script << "seconds = " << std::max(frames / output.rate, 1e-3)
           << "\npeak = " << std::max(peakOf(input), peakOf(output))
           << "\nname = " << literal(title) << "\nset output " << literal(partial.temporaryPath())
           << kScript;
    addReductions(script, readings);
    script << "unset multiplot\nset output\n";
    if (!runGnuplot(script.str())) throw Failure{"gnuplot failed"};
    partial.keep();
}

}  // namespace Quorvant::Hosting
