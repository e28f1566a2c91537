#pragma once
// A gnuplot script that draws measured values: per quantity, the tests'
// vectors or scalar tracks overlaid as curves with the limits the answer
// carries, scalars as one point per test, each test's vector track as
// curves per row (or a waterfall) and each matrix as a heat map. Axes are
// named by the units the answer gives. The data travels inside the script
// as datablocks, so the script alone renders the picture.

#include <string>
#include <vector>

#include "Clavis.pb.h"
#include "MeasurementContainer.pb.h"
#include "vrex/Result.h"
#include "vrex/data/LineTimeZone.h"

namespace vrex::cli {

enum class PlotFormat { Png, Svg };

struct PlotOptions {
  PlotFormat format = PlotFormat::Png;
  std::string output;      ///< the picture, unless the variable `output` says otherwise
  bool waterfall = false;  ///< vector tracks in 3D, one line per row
  std::string line;        ///< "Plant-North / Line-A", for the titles
  data::LineTimeZone zone = data::LineTimeZone::Utc();  ///< of the tests' dates in the titles
};

struct PlotScript {
  std::string data;                ///< one datablock per curve
  std::string commands;            ///< terminal, panels, plot commands
  std::vector<std::string> notes;  ///< what was left out, and why
  std::string Text() const { return data + commands; }
};

/// The script for `quantities` of the tests in `answer`, in ascending test
/// order. Fails when no test has a value to draw of any of them.
Result<PlotScript> BuildPlotScript(const Korvan::KQ::DataContracts::MeasurementContainer& answer,
                                   const std::vector<Korvan::KQ::DataContracts::Clavis>& quantities,
                                   const PlotOptions& options);

/// `text` as a gnuplot string literal: single quotes, a quote doubled, line
/// breaks as blanks.
std::string GnuplotString(const std::string& text);

}  // namespace vrex::cli
