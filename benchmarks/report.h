// The measurements as a page with tables and a plot.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

// Prints as usual, and keeps the time of every repetition in nanoseconds, by name.
class Collector : public benchmark::ConsoleReporter {
 public:
  Collector() : ConsoleReporter(OO_Tabular) {}
  void ReportRuns(const std::vector<Run>& runs) override;
  bool hasErrors() const { return hasErrors_; }

  // The median; NaN where nothing of this name was measured.
  double median(const std::string& name) const;
  // (largest - smallest)/median over the repetitions.
  double spread(const std::string& name) const;

 private:
  std::map<std::string, std::vector<double>> times_;
  bool hasErrors_ = false;
};

// Writes the page and the plot; false where a file cannot be written.
bool writeReport(const Collector& collector, const char* page, const char* plot,
                 const char* commit);
