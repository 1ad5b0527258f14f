#include "report.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <iomanip>
#include <limits>
#include <sstream>

#include "data.h"
#include "reference.h"
#include "unzoned/vector_walk.h"

namespace {

constexpr int kComponentCount = 11;
const std::string kInCache = "4096", kInMemory = "4194304";

std::string nameOf(const std::string& kind, bool oneValue, int component, const std::string& walk,
                   const std::string& n) {
  return kind + (oneValue ? "/one/" : "/each/") + kComponentNames[component] + '/' + walk + '/' + n;
}

std::string text(double x, int places) {
  std::ostringstream out;
  out << std::fixed << std::setprecision(places) << x;
  return out.str();
}

struct Ratio {
  double mean;   // geometric
  double worst;  // the largest
  double least;
};

// A ratio of two measurements over all components, and both sorts of values where asked for.
class Ratios {
 public:
  explicit Ratios(const Collector& collector) : collector_(collector) {}

  Ratio of(const std::string& kind, const std::string& walk, const std::string& toKind,
           const std::string& toWalk, const std::string& n, bool bothSorts) const {
    double logs = 0.0, worst = 0.0, least = HUGE_VAL;
    int count = 0;
    for (int c = 0; c < kComponentCount; ++c) {
      for (const bool one : {false, true}) {
        if (one && !bothSorts) continue;
        const double ratio = collector_.median(nameOf(kind, one, c, walk, n)) /
                             collector_.median(nameOf(toKind, one, c, toWalk, n));
        logs += std::log(ratio);
        worst = std::max(worst, ratio);
        least = std::min(least, ratio);
        ++count;
      }
    }
    return {std::exp(logs / count), worst, least};
  }

 private:
  const Collector& collector_;
};

std::string processor() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

void writeGoals(std::ostream& out, const Collector& collector) {
  const Ratios ratios(collector);
  const std::string best = unzonedInstructionSets().front().name;
  const auto row = [&](const std::string& what, const std::string& goal, const std::string& result,
                       bool holds) {
    out << "| " << what << " | " << goal << " | " << result << " | " << (holds ? "yes" : "**no**")
        << " |\n";
  };
  const auto meanAndWorst = [](const Ratio& r) {
    return text(r.mean, 2) + ", worst " + text(r.worst, 2);
  };
  out << "Ratios are geometric means over the eleven components, each with one value per element "
         "and with a\nsingle value where not said otherwise. \"Best\" is "
      << best << " here.\n\n"
      << "| case | goal | measured | holds |\n|---|---|---|---|\n";
  const Ratio memory = ratios.of("whole", best, "whole", "copy", kInMemory, true);
  row("4 million whole milliseconds, best / copy", "1.05, none above 1.15", meanAndWorst(memory),
      memory.mean <= 1.05 && memory.worst <= 1.15);
  const Ratio zerosMemory = ratios.of("zeros", best, "zeros", "copy", kInMemory, true);
  row("the same with low parts of zero, as results have them", "1.05, none above 1.15",
      meanAndWorst(zerosMemory), zerosMemory.mean <= 1.05 && zerosMemory.worst <= 1.15);
  const Ratio memory2 = ratios.of("whole", "AVX2", "whole", "copy", kInMemory, true);
  row("the same on AVX2", "1.3", meanAndWorst(memory2), memory2.mean <= 1.3);
  const Ratio fraction = ratios.of("fraction", best, "fraction", "copy", kInMemory, true);
  row("4 million with a fraction, best / copy", "1.3", meanAndWorst(fraction),
      fraction.mean <= 1.3);
  const Ratio fraction2 = ratios.of("fraction", "AVX2", "fraction", "copy", kInMemory, true);
  row("the same on AVX2", "2.2", meanAndWorst(fraction2), fraction2.mean <= 2.2);
  const Ratio plain = ratios.of("whole", "plain", "whole", best, kInCache, true);
  row("4096 elements, plain / best", "at least 70",
      text(plain.mean, 1) + ", least " + text(plain.least, 1), plain.mean >= 70);
  const Ratio cache = ratios.of("whole", best, "whole", "copy", kInCache, true);
  row("4096 elements, best / copy", "2.5", meanAndWorst(cache), cache.mean <= 2.5);
  const Ratio zerosCache = ratios.of("zeros", best, "zeros", "copy", kInCache, true);
  row("the same with low parts of zero", "2.5", meanAndWorst(zerosCache), zerosCache.mean <= 2.5);
  const Ratio plain2 = ratios.of("whole", "plain", "whole", "AVX2", kInCache, true);
  row("4096 elements, plain / AVX2", "at least 45",
      text(plain2.mean, 1) + ", least " + text(plain2.least, 1), plain2.mean >= 45);
  const Ratio plain4 = ratios.of("whole", "plain", "whole", "SSE4", kInCache, true);
  row("4096 elements, plain / SSE4", "at least 15",
      text(plain4.mean, 1) + ", least " + text(plain4.least, 1), plain4.mean >= 15);
  const Ratio leap = ratios.of("leap", best, "zeros", "copy", kInMemory, false);
  row("4 million that count leap seconds, best / copy, one value per element", "1.5",
      meanAndWorst(leap), leap.mean <= 1.5);
  for (const auto& [kind, goal] : {std::pair{"special1", 1.15}, std::pair{"special10", 1.7}}) {
    for (const std::string& n : {kInMemory, kInCache}) {
      const Ratio r = ratios.of(kind, best, "whole", best, n, false);
      row(n + " elements, " + (goal < 1.2 ? "1" : "10") +
              " % NaN or infinite / without, one value per element",
          text(goal, 2), meanAndWorst(r), r.mean <= goal);
    }
  }
  const Ratio calls = ratios.of("whole", "call", "whole", "copy", kInMemory, false);
  row("4 million through `paCallModule`, result made and destroyed / copy, one value per element",
      "1.3", meanAndWorst(calls), calls.mean <= 1.3);
  double worst = 0.0;
  for (int n = 1; n <= 16; ++n) {
    worst = std::max(
        worst, ratios.of("whole", "call", "whole", "plain call", std::to_string(n), false).worst);
  }
  row("1 to 16 elements through `plxFunction`, the module / one with the plain code, worst of all",
      "1 (1.05 for noise)", text(worst, 2), worst <= 1.05);
}

void writeTimes(std::ostream& out, const Collector& collector, const std::string& kind,
                const std::string& n, const std::vector<std::string>& walks) {
  out << "| component |";
  for (const auto& walk : walks) out << ' ' << walk << " |";
  out << "\n|---|";
  for (std::size_t i = 0; i < walks.size(); ++i) out << "---:|";
  out << '\n';
  const double elements = std::stod(n);
  for (int c = 0; c < kComponentCount; ++c) {
    out << "| " << kComponentNames[c] << " |";
    for (const auto& walk : walks) {
      const std::string name = nameOf(kind, false, c, walk, n);
      out << ' ' << text(collector.median(name) / elements, 2) << " ("
          << text(100.0 * collector.spread(name), 0) << " %) |";
    }
    out << '\n';
  }
  out << '\n';
}

// Horizontal bars over a logarithmic axis from 0.1 to 1000 ns per element.
void writePlot(std::ostream& out, const Collector& collector) {
  const std::pair<const char*, const char*> bars[] = {{"plain", "#999999"},
                                                      {"SSE4", "#e69f00"},
                                                      {"AVX2", "#56b4e9"},
                                                      {"AVX3", "#009e73"},
                                                      {"copy", "#000000"}};
  constexpr int kBar = 9, kGroup = 6 * kBar, kLeft = 110, kTop = 50, kDecade = 160;
  const auto x = [](double ns) { return kLeft + kDecade * (std::log10(ns) + 1.0); };
  const int bottom = kTop + kComponentCount * kGroup;
  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kLeft + 4 * kDecade + 30
      << "\" height=\"" << bottom + 40 << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
      << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
      << "<text x=\"" << kLeft << "\" y=\"18\">4096 whole-millisecond datetimes: nanoseconds per "
      << "element</text>\n";
  int key = kLeft;
  for (const auto& [walk, colour] : bars) {
    out << "<rect x=\"" << key << "\" y=\"27\" width=\"10\" height=\"10\" fill=\"" << colour
        << "\"/><text x=\"" << key + 14 << "\" y=\"37\">" << walk << "</text>\n";
    key += 80;
  }
  for (const double ns : {0.1, 1.0, 10.0, 100.0, 1000.0}) {
    out << "<line x1=\"" << x(ns) << "\" x2=\"" << x(ns) << "\" y1=\"" << kTop << "\" y2=\""
        << bottom << "\" stroke=\"#dddddd\"/><text x=\"" << x(ns) << "\" y=\"" << bottom + 18
        << "\" text-anchor=\"middle\">" << ns << "</text>\n";
  }
  for (int c = 0; c < kComponentCount; ++c) {
    int y = kTop + c * kGroup + kBar / 2;
    out << "<text x=\"" << kLeft - 8 << "\" y=\"" << y + 3 * kBar << "\" text-anchor=\"end\">"
        << kComponentNames[c] << "</text>\n";
    for (const auto& [walk, colour] : bars) {
      const double ns = collector.median(nameOf("whole", false, c, walk, kInCache)) / 4096.0;
      if (ns > 0.0) {
        out << "<rect x=\"" << kLeft << "\" y=\"" << y << "\" width=\"" << x(ns) - kLeft
            << "\" height=\"" << kBar - 1 << "\" fill=\"" << colour << "\"/>\n";
      }
      y += kBar;
    }
  }
  out << "</svg>\n";
}

// The library's version 1.8 renamed what tells it.
template <class Run>
bool hasFailed(const Run& run) {
  if constexpr (requires { run.error_occurred; }) {
    return run.error_occurred;
  } else {
    return run.skipped != 0;
  }
}

}  // namespace

void Collector::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (hasFailed(run)) {
      hasErrors_ = true;
    } else if (run.run_type == Run::RT_Iteration) {
      std::string name = run.run_name.function_name;
      times_[name].push_back(run.real_accumulated_time / static_cast<double>(run.iterations) * 1e9);
    }
  }
  ConsoleReporter::ReportRuns(runs);
}

double Collector::median(const std::string& name) const {
  const auto found = times_.find(name);
  if (found == times_.end()) return std::numeric_limits<double>::quiet_NaN();
  std::vector<double> times = found->second;
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

double Collector::spread(const std::string& name) const {
  const auto found = times_.find(name);
  if (found == times_.end()) return std::numeric_limits<double>::quiet_NaN();
  const auto [least, most] = std::minmax_element(found->second.begin(), found->second.end());
  return (*most - *least) / median(name);
}

bool writeReport(const Collector& collector, const char* page, const char* plot,
                 const char* commit) {
  std::ofstream out(page);
  const std::string plotName(plot);
  out << "# Performance\n\n"
      << "How fast components of unzoned datetimes are set, as `scripts/benchmark` measured it and "
         "wrote it\nhere. Inputs are random with a fixed seed; answers are checked against the "
         "plain code, which is the\nmeaning. The copy is a loop that reads and writes the same "
         "bytes with ordinary stores, in the same\nprocess; all others are walks over the arrays "
         "of a host, as `setFieldUTC` calls them. Repetitions of\nall measurements are "
         "interleaved, and medians "
         "compared.\n\nDatetimes in a time zone have "
         "[a page of their own](zoned_performance.md).\n\n"
      << "- processor: " << processor() << "\n- compiler: "
#ifdef __clang__
      << "Clang " << __clang_version__
#else
      << "GCC " << __VERSION__
#endif
      << "\n- flags: `" << PLX_FLAGS << "`\n- commit: " << commit << "\n\n## Goals\n\n";
  writeGoals(out, collector);
  std::vector<std::string> walks{"copy"};
  for (const auto& set : unzonedInstructionSets()) walks.emplace_back(set.name);
  std::vector<std::string> withPlain = walks;
  withPlain.emplace_back("plain");
  out << "\n## Nanoseconds per element\n\nMedian, and the spread of the repetitions (largest less "
         "smallest, of the median). Datetimes lie\nbetween 1970 and 2040; there is one value per "
         "element.\n\n![plot]("
      << plotName.substr(plotName.rfind('/') + 1)
      << ")\n\n4096 elements of whole milliseconds, in cache:\n\n";
  writeTimes(out, collector, "whole", kInCache, withPlain);
  out << "4 million elements of whole milliseconds, in memory:\n\n";
  writeTimes(out, collector, "whole", kInMemory, walks);
  const std::vector<std::string> few{"copy", unzonedInstructionSets().front().name, "AVX2"};
  out << "4 million elements with a fraction in the low part, in memory:\n\n";
  writeTimes(out, collector, "fraction", kInMemory, few);
  out << "## Beside other ways\n\nThe month of 4096 elements; \"auto\" is a plain loop without "
         "branches that the compiler makes vectors of\n(with `-fno-trapping-math`), in versions "
         "for "
         "several instruction sets, of which the one for\n"
      << autoVersion()
      << " ran. It tests no domain, refuses nothing and knows whole milliseconds only.\n\n"
         "| way | ns per element |\n|---|---:|\n";
  for (const char* walk : {"cctz", "date", "std::chrono", "plain", "auto"}) {
    const double ns = collector.median(nameOf("whole", false, 2, walk, kInCache));
    out << "| " << walk << " | " << text(ns / 4096.0, 2) << " |\n";
  }
  out << "| hour, auto | "
      << text(collector.median(nameOf("whole", false, 7, "auto", kInCache)) / 4096.0, 2) << " |\n";
  out << "| month, auto, in memory | "
      << text(collector.median(nameOf("whole", false, 2, "auto", kInMemory)) / 4194304.0, 2)
      << " |\n";
  std::ofstream plotFile(plot);
  writePlot(plotFile, collector);
  return out.good() && plotFile.good();
}
