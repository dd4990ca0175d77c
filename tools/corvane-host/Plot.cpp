#include "tools/corvane-host/Plot.h"

#include "tools/corvane-host/WholeFile.h"
#include "tools/hosting/Text.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <random>
#include <span>
#include <sstream>

#ifdef _WIN32
constexpr const char* kNowhere = "NUL";
#else
constexpr const char* kNowhere = "/dev/null";
#endif

namespace Quorvant::Hosting {

namespace {

constexpr size_t kColumns = 1000;
constexpr size_t kLargestPicture = 1 << 24;  // bytes

// What gnuplot is told after the data and the values that differ from plot to plot. Both waveforms
// have one scale, so that they can be compared.
constexpr const char* kScript = R"(
set terminal pngcairo size 1600,1000 font 'DejaVu Sans,10' background rgb 'white'
set multiplot layout 3,1 title name font ',15' noenhanced
set lmargin 10; set rmargin 10; set xrange [0:seconds]; set border 3; set tics nomirror; set grid
set style fill solid; set ylabel 'level'; set yrange [-1:1]
set title 'Input'; plot $input using 1:2:3 with filledcurves notitle lc rgb '#5d6d7e'
set title 'Output'; plot $output using 1:2:3 with filledcurves notitle lc rgb '#1f618d'
set title 'Gain reduction'; set ylabel 'dB'; set xlabel 'time (s)'; set yrange [*<-3:0.2]
set key bottom right; decibels(reduction) = 20 * log10(reduction < 0.999 ? 1 - reduction : 0.001)
)";

// The lowest and the highest sample of each column of the picture.
void addWaveform(std::ostream& script, const char* name, const Audio& audio) {
    script << name << " << EOD\n0 0 0\n";
    const size_t total = audio.samples.size();
    for (size_t column = 0; column < kColumns && total > 0; ++column) {
        const size_t from = total * column / kColumns;
        const size_t to = std::max(from + 1, total * (column + 1) / kColumns);
        const auto [low, high] =
            std::ranges::minmax(std::span(audio.samples).subspan(from, to - from));
        script << static_cast<double>(from) / (audio.rate * audio.channels) << ' ' << low << ' '
               << high << '\n';
    }
    script << "EOD\n";
}

void addReductions(std::ostream& script, const Readings& readings) {
    std::string plots;
    for (size_t column = 0; column < readings.columns.size(); ++column) {
        const std::string& title = readings.columns[column].title;
        if (!title.ends_with("Gain Reduction")) continue;
        const std::string name = "$reduction" + std::to_string(column);
        script << name << " << EOD\n";
        for (const auto& row : readings.rows)
            if (column < row.values.size())
                script << row.seconds << ' ' << row.values[column].value_or(0.0) << '\n';
        script << "EOD\n";
        appendItem(plots, name + " using 1:(decibels($2)) with lines title " + inQuotes(title));
    }
    if (!plots.empty()) script << "plot " << plots << '\n';
}

bool runGnuplot(const std::string& arguments) {
    return std::system(("gnuplot " + arguments + " 2>" + kNowhere).c_str()) == 0;
}

}  // namespace

void checkPlot(const std::string& path) {
    if (!sameText(std::filesystem::path(path).extension().string(), ".png"))
        throw Failure{inQuotes(path) + " does not end in .png"};
    checkFolder(path);
    if (!runGnuplot(std::string("--version >") + kNowhere))
        throw Failure{"plots are drawn by gnuplot, which is not installed (Debian: gnuplot-nox)"};
}

void drawPlot(const std::string& path, const std::string& title, const Audio& input,
              const Audio& output, const Readings& readings) {
    const auto frames = static_cast<double>(std::max(input.frames(), output.frames()));
    std::ostringstream script;
    addWaveform(script, "$input", input);
    addWaveform(script, "$output", output);
    script << "seconds = " << std::max(frames / output.rate, 1e-3)
           << "\nname = " << std::quoted(title, '\'', '\'') << kScript;
    addReductions(script, readings);
    script << "unset multiplot\n";

    const std::string base = (std::filesystem::temp_directory_path() / "corvane-plot-").string() +
                             std::to_string(std::random_device()());
    const std::string told = base + ".txt", drawn = base + ".png";
    writeWhole(told, std::as_bytes(std::span(script.view())));
    // Without the user's settings.
    const bool done = runGnuplot("-d \"" + told + "\" >\"" + drawn + "\"");
    const FileBytes picture = done ? readWhole(drawn, kLargestPicture) : FileBytes();
    for (const std::string& file : {told, drawn}) std::filesystem::remove(file);
    if (!done) throw Failure{"gnuplot failed"};
    writeWhole(path, picture);
}

}  // namespace Quorvant::Hosting
