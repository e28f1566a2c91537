#include "PlotScript.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "AnswerTables.h"
#include "ValueCurves.h"
#include "ValueSummary.h"
#include "vrex/data/Clavis.h"
#include "vrex/data/Measurements.h"
#include "vrex/data/Units.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;

constexpr int kPanelWidth = 1000;
constexpr int kPanelHeight = 520;
// Few points are drawn with markers, so that each measured point shows.
constexpr std::size_t kMarkedPoints = 60;
// Rows of a vector track get a legend entry each up to this many.
constexpr std::size_t kTitledRows = 8;

// Line styles 1..8 are the tests; these the limits.
constexpr std::size_t kTestStyles = 8;
constexpr int kUpperLimitStyle = 101;
constexpr int kReferenceStyle = 102;

const char* const kPreamble =
    "set encoding utf8\n"
    "set grid lc rgb '#b8b8b8' lw 1 dt 3\n"
    "set border 3 lc rgb '#404040'\n"
    "set tics nomirror\n"
    "set key below Left reverse samplen 2 width 2 height 1\n"
    "set title font ',13'\n"
    "set palette defined (0 '#30123b', 0.25 '#4686fb', 0.5 '#1ae4b6', 0.75 '#faba39', "
    "1 '#7a0403')\n"
    "set linetype 1 lc rgb '#1f77b4' lw 2 pt 7 ps 0.8\n"
    "set linetype 2 lc rgb '#d62728' lw 2 pt 5 ps 0.8\n"
    "set linetype 3 lc rgb '#2ca02c' lw 2 pt 9 ps 0.9\n"
    "set linetype 4 lc rgb '#9467bd' lw 2 pt 11 ps 0.9\n"
    "set linetype 5 lc rgb '#ff7f0e' lw 2 pt 13 ps 0.9\n"
    "set linetype 6 lc rgb '#8c564b' lw 2 pt 7 ps 0.8\n"
    "set linetype 7 lc rgb '#e377c2' lw 2 pt 5 ps 0.8\n"
    "set linetype 8 lc rgb '#17becf' lw 2 pt 9 ps 0.9\n"
    "set linetype cycle 8\n"
    "set style line 101 lc rgb '#000000' dt 2 lw 1.5\n"
    "set style line 102 lc rgb '#7f7f7f' dt 3 lw 1.5\n";

// One test's value of the quantity being drawn.
struct TestValue {
  int id = 0;
  const dc::GeneralInformation* test = nullptr;
  ValueCurves curves;
  std::vector<LimitCurves> limits;
};

class Figure {
 public:
  // Stores `rows` as a datablock and returns its name.
  std::string Block(const std::string& rows) {
    const std::string name = "$data" + std::to_string(++blocks_);
    data_ += name + " << EOD\n" + rows + "EOD\n";
    return name;
  }
  void AddPanel(std::string commands) { panels_.push_back(std::move(commands)); }
  void Note(std::string note) { notes_.push_back(std::move(note)); }
  bool Empty() const { return panels_.empty(); }
  bool AnyPanelHas(const std::string& command) const {
    return std::any_of(panels_.begin(), panels_.end(), [&command](const std::string& panel) {
      return panel.find(command) != std::string::npos;
    });
  }

  PlotScript Script(const PlotOptions& options) && {
    PlotScript script;
    script.data = std::move(data_);
    const int height = kPanelHeight * static_cast<int>(panels_.size());
    script.commands =
        (options.format == PlotFormat::Svg
             ? "set terminal svg noenhanced dynamic background rgb 'white' font 'Sans,12' "
             : "set terminal pngcairo noenhanced background rgb 'white' font 'Sans,11' ") +
        std::string("size ") + std::to_string(kPanelWidth) + "," + std::to_string(height) + "\n" +
        // `gnuplot -e "output='other.png'" FILE.gp` draws elsewhere.
        "if (!exists(\"output\")) output = " + GnuplotString(options.output) +
        "\nset output output\n" + kPreamble +
        // Room on the right for colour bars only when a panel has one.
        "right = " + (AnyPanelHas("\nset colorbox\n") ? "0.86" : "0.97") + "\n";
    if (panels_.size() > 1) {
      script.commands += "set multiplot layout " + std::to_string(panels_.size()) + ",1\n";
    }
    for (const std::string& panel : panels_) script.commands += panel;
    if (panels_.size() > 1) script.commands += "unset multiplot\n";
    script.notes = std::move(notes_);
    return script;
  }

 private:
  std::string data_;
  std::vector<std::string> panels_;
  std::vector<std::string> notes_;
  int blocks_ = 0;
};

// Each test's line type (1..8) from its identifier, so that a test has the
// same colour in every picture; a type already taken in this picture passes
// to the next free one.
std::map<int, int> TestStyles(const std::vector<TestValue>& values) {
  std::map<int, int> styles;
  std::vector<bool> taken(kTestStyles, false);
  for (const TestValue& value : values) {
    std::size_t style =
        static_cast<std::size_t>(value.id % kTestStyles + kTestStyles) % kTestStyles;
    for (std::size_t tries = 0; taken[style] && tries < kTestStyles; ++tries) {
      style = (style + 1) % kTestStyles;
    }
    taken[style] = true;
    styles[value.id] = static_cast<int>(style) + 1;
  }
  return styles;
}

// The unit's axis label, or `fallback` when the unit says nothing.
std::string AxisLabel(const dc::Unit& unit, const std::string& fallback) {
  std::string label = data::AxisLabel(unit, kDecibelReference);
  return label.empty() ? fallback : label;
}

std::string Labels(const ValueCurves& curves, const std::string& yFallback) {
  return "set xlabel " + GnuplotString(AxisLabel(curves.xUnit, "x")) + "\nset ylabel " +
         GnuplotString(AxisLabel(curves.yUnit, yFallback)) + "\n";
}

// What every panel sets, so that nothing carries over from the one before:
// the same left and right edge in every flat panel, colour bar or not, so
// that the x axes of stacked panels line up.
std::string PanelStart(const std::string& title) {
  return "set title " + title +
         "\nset autoscale\nset xtics autofreq\nunset colorbox\nunset cblabel\nset border 3\n"
         "set lmargin at screen 0.09\nset rmargin at screen right\n";
}

// A title of the quantity alone, or of the quantity over the test.
std::string Title(const std::string& quantity, const std::string& test = "") {
  return test.empty() ? GnuplotString(quantity)
                      : GnuplotString(quantity) + " . \"\\n\" . " + GnuplotString(test);
}

// Where and when the tests were made: "Plant-North / Line-A, Bench-1,
// 2024-03-12" (benches and days in the order met; a span of days as its ends).
std::string Context(const std::vector<TestValue>& values, const PlotOptions& options) {
  std::vector<std::string> benches;
  std::set<std::string> days;
  for (const TestValue& value : values) {
    if (std::find(benches.begin(), benches.end(), value.test->bench()) == benches.end()) {
      benches.push_back(value.test->bench());
    }
    days.insert(options.zone.Format(value.test->measurementtime()).substr(0, 10));
  }
  std::string text = options.line;
  const auto add = [&text](const std::string& part) {
    if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
  };
  if (benches.size() <= 3) {
    for (const std::string& bench : benches) add(bench);
  } else {
    add(std::to_string(benches.size()) + " benches");
  }
  add(days.size() <= 1 ? (days.empty() ? "" : *days.begin())
                       : *days.begin() + " to " + *days.rbegin());
  return text;
}

std::string TestLabel(const TestValue& value) {
  return std::to_string(value.id) + "  " + value.test->serial() +
         (value.test->result().empty() ? "" : "  " + value.test->result());
}

std::string LimitLabel(const LimitCurves& limit) {
  return (limit.type == en::Reference ? "reference: " : "upper limit: ") + limit.description;
}

int LimitStyle(const LimitCurves& limit) {
  return limit.type == en::Reference ? kReferenceStyle : kUpperLimitStyle;
}

std::string CurveRows(const Curve& curve) {
  std::string rows;
  for (std::size_t i = 0; i < curve.y.size(); ++i) {
    rows += AxisText(curve.x[i]) + " " + FloatText(curve.y[i]) + "\n";
  }
  return rows;
}

std::string PlotCommand(const std::vector<std::string>& items, const std::string& verb = "plot") {
  std::string command = verb + " ";
  for (std::size_t i = 0; i < items.size(); ++i) {
    command += (i == 0 ? "" : ", \\\n     ") + items[i];
  }
  return command + "\n";
}

std::string Titled(const std::string& title) {
  return title.empty() ? " notitle" : " title " + GnuplotString(title);
}

// The limits of the first test that carries any: tests of one type share them.
const std::vector<LimitCurves>& SharedLimits(const std::vector<TestValue>& values) {
  static const std::vector<LimitCurves> none;
  for (const TestValue& value : values) {
    if (!value.limits.empty()) return value.limits;
  }
  return none;
}

// Each limit as curves, its first curve titled.
void AddLimitItems(Figure& figure, const std::vector<LimitCurves>& limits,
                   std::vector<std::string>& items) {
  for (const LimitCurves& limit : limits) {
    bool first = true;
    for (const Curve& curve : limit.curves) {
      items.push_back(figure.Block(CurveRows(curve)) + " using 1:2 with lines ls " +
                      std::to_string(LimitStyle(limit)) + Titled(first ? LimitLabel(limit) : ""));
      first = false;
    }
  }
}

// Vectors and scalar tracks: one curve per test, the limits dashed.
void AddCurvesPanel(Figure& figure, const std::string& title,
                    const std::vector<TestValue>& values) {
  std::vector<std::string> items;
  const std::map<int, int> styles = TestStyles(values);
  for (const TestValue& value : values) {
    const Curve& curve = value.curves.curves.front();
    const char* style = curve.y.size() <= kMarkedPoints ? "linespoints" : "lines";
    items.push_back(figure.Block(CurveRows(curve)) + " using 1:2 with " + style + " lt " +
                    std::to_string(styles.at(value.id)) + Titled(TestLabel(value)));
  }
  AddLimitItems(figure, SharedLimits(values), items);
  figure.AddPanel(PanelStart(title) + "set autoscale xfix\n" +
                  Labels(values.front().curves, "Value") + PlotCommand(items));
}

// Scalars: one point per test over the tests, the limits as level lines.
void AddScalarPanel(Figure& figure, const std::string& title,
                    const std::vector<TestValue>& values) {
  std::vector<std::string> items;
  const std::map<int, int> styles = TestStyles(values);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string row = std::to_string(i + 1) + " " +
                            FloatText(values[i].curves.curves.front().y.front()) + " \"" +
                            std::to_string(values[i].id) + "\"\n";
    items.push_back(figure.Block(row) + " using 1:2:xtic(3) with points ps 2 lt " +
                    std::to_string(styles.at(values[i].id)) + Titled(TestLabel(values[i])));
  }
  const std::string right = AxisText(static_cast<double>(values.size()) + 0.5);
  for (const LimitCurves& limit : SharedLimits(values)) {
    const std::string level = FloatText(limit.curves.front().y.front());
    items.push_back(figure.Block("0.5 " + level + "\n" + right + " " + level + "\n") +
                    " using 1:2 with lines ls " + std::to_string(LimitStyle(limit)) +
                    Titled(LimitLabel(limit)));
  }
  figure.AddPanel(PanelStart(title) + "set xrange [0.5:" + right + "]\nset xlabel 'Test'\n" +
                  "set ylabel " + GnuplotString(AxisLabel(values.front().curves.yUnit, "Value")) +
                  "\n" + PlotCommand(items));
}

std::string ZText(const ValueCurves& curves, double z) {
  const std::string unit = data::UnitText(curves.zUnit, kDecibelReference);
  return AxisText(z) + (unit.empty() ? "" : " " + unit);
}

// The colour bar of the rows' z, its range spanning them.
std::string ColourBar(const std::string& label, const std::vector<Curve>& rows) {
  double low = *rows.front().z;
  double high = low;
  for (const Curve& row : rows) {
    low = std::min(low, *row.z);
    high = std::max(high, *row.z);
  }
  const std::string range =
      high > low ? "set cbrange [" + AxisText(low) + ":" + AxisText(high) + "]\n" : "";
  return "set colorbox\nset cblabel " + GnuplotString(label) + "\n" + range;
}

// "[low:high]" of the ordinates of all tests' values and limits, so that the
// panels of the tests share a scale and can be compared.
std::string SharedRange(const std::vector<TestValue>& values) {
  float low = values.front().curves.curves.front().y.front();
  float high = low;
  const auto widen = [&low, &high](const std::vector<Curve>& curves) {
    for (const Curve& curve : curves) {
      for (const float y : curve.y) {
        low = std::min(low, y);
        high = std::max(high, y);
      }
    }
  };
  for (const TestValue& value : values) {
    widen(value.curves.curves);
    for (const LimitCurves& limit : value.limits) widen(limit.curves);
  }
  return high > low ? "[" + FloatText(low) + ":" + FloatText(high) + "]" : "[*:*]";
}

// Curves as "x z y" rows, each ended by `end` (two blank lines: a data set
// each, no lines across them); a curve without z of its own (a limit for all
// rows) once at each row's z.
std::string RowsAtZ(const std::vector<Curve>& curves, const std::vector<Curve>& rows,
                    const std::string& end = "\n\n") {
  std::string text;
  for (const Curve& curve : curves) {
    for (const Curve& row : rows) {
      if (curve.z && &row != &rows.front()) break;
      const double z = curve.z ? *curve.z : *row.z;
      for (std::size_t i = 0; i < curve.y.size(); ++i) {
        text += AxisText(curve.x[i]) + " " + AxisText(z) + " " + FloatText(curve.y[i]) + "\n";
      }
      text += end;
    }
  }
  return text;
}

// A vector track: its rows as curves coloured by z, or as a waterfall.
void AddRowsPanel(Figure& figure, const std::string& title, const TestValue& value,
                  const std::string& range, bool waterfall) {
  const ValueCurves& curves = value.curves;
  const std::string zLabel = AxisLabel(curves.zUnit, "z");
  if (waterfall) {
    std::vector<std::string> items = {figure.Block(RowsAtZ(curves.curves, curves.curves)) +
                                      " using 1:2:3:2 with lines lw 1.5 lc palette notitle"};
    for (const LimitCurves& limit : value.limits) {
      items.push_back(figure.Block(RowsAtZ(limit.curves, curves.curves)) +
                      " using 1:2:3 with lines ls " + std::to_string(LimitStyle(limit)) +
                      Titled(LimitLabel(limit)));
    }
    figure.AddPanel(
        PanelStart(title) + "set border 31\nset lmargin -1\nset rmargin -1\nset xlabel " +
        GnuplotString(AxisLabel(curves.xUnit, "x")) + "\nset ylabel " + GnuplotString(zLabel) +
        "\nset zlabel " + GnuplotString(AxisLabel(curves.yUnit, "Value")) + " rotate parallel\n" +
        "set view 60,30\nset xyplane 0\nset zrange " + range + "\n" +
        ColourBar(zLabel, curves.curves) + PlotCommand(items, "splot"));
    return;
  }
  std::vector<std::string> items;
  const bool titled = curves.curves.size() <= kTitledRows;
  for (const Curve& curve : curves.curves) {
    items.push_back(figure.Block(CurveRows(curve)) + " using 1:2 with lines lw 2 lc palette cb " +
                    AxisText(*curve.z) + Titled(titled ? ZText(curves, *curve.z) : ""));
  }
  AddLimitItems(figure, value.limits, items);
  figure.AddPanel(PanelStart(title) + "set autoscale xfix\nset yrange " + range + "\n" +
                  Labels(curves, "Value") + ColourBar(zLabel, curves.curves) + PlotCommand(items));
}

// The cells of a matrix above an upper limit, as "x z" rows.
std::string CellsAbove(const ValueCurves& curves, const LimitCurves& limit) {
  std::string rows;
  for (std::size_t r = 0; r < curves.curves.size() && r < limit.curves.size(); ++r) {
    const Curve& row = curves.curves[r];
    for (std::size_t i = 0; i < row.y.size() && i < limit.curves[r].y.size(); ++i) {
      if (row.y[i] > limit.curves[r].y[i]) {
        rows += AxisText(row.x[i]) + " " + AxisText(*row.z) + "\n";
      }
    }
  }
  return rows;
}

// A matrix as a heat map over x and z; cells above an upper limit circled.
// An SVG draws the map's cells as rectangles ("pixels"): an embedded image
// would be smoothed by viewers into a gradient the data does not have.
void AddHeatMapPanel(Figure& figure, const std::string& title, const TestValue& value,
                     const std::string& range, PlotFormat format) {
  const ValueCurves& curves = value.curves;
  std::vector<std::string> items = {figure.Block(RowsAtZ(curves.curves, curves.curves, "\n")) +
                                    " using 1:2:3 with image" +
                                    (format == PlotFormat::Svg ? " pixels" : "") + " notitle"};
  // A circle about half a cell wide: it marks the cell without hiding it.
  const std::size_t cells = std::max(curves.curves.size(), curves.curves.front().y.size());
  const std::string size = AxisText(std::clamp(6.0 / static_cast<double>(cells), 0.4, 1.5));
  for (const LimitCurves& limit : value.limits) {
    const std::string above = limit.type == en::UpperLimit ? CellsAbove(curves, limit) : "";
    if (!above.empty()) {
      items.push_back(figure.Block(above) + " using 1:2 with points pt 6 ps " + size +
                      " lw 1.5 lc rgb 'black'" + Titled("above " + LimitLabel(limit)));
    }
  }
  figure.AddPanel(PanelStart(title) + "set xlabel " + GnuplotString(AxisLabel(curves.xUnit, "x")) +
                  "\nset ylabel " + GnuplotString(AxisLabel(curves.zUnit, "z")) +
                  "\nset autoscale fix\n" + "set colorbox\nset cbrange " + range +
                  "\nset cblabel " + GnuplotString(AxisLabel(curves.yUnit, "Value")) + "\n" +
                  PlotCommand(items));
}

// The values of `quantity` that can be drawn, one per test; notes the rest.
std::vector<TestValue> ValuesOf(const dc::MeasurementContainer& answer, const dc::Clavis& quantity,
                                Figure& figure) {
  const std::string name = data::DescribeClavis(quantity);
  std::vector<TestValue> values;
  for (const auto& [id, measurement] : TestsInOrder(answer)) {
    const std::string test = "test " + std::to_string(id);
    const auto value = data::FindValue(measurement->measurementvalues(), quantity);
    if (!value.Ok()) {
      figure.Note(test + " has no value of " + name);
      continue;
    }
    TestValue entry{id, &measurement->generalinformation(), CurvesOf(*value.Value()),
                    LimitsOf(*value.Value())};
    if (entry.curves.curves.empty()) {
      figure.Note(test + ", " + name + ": " + SummariseValue(*value.Value()));
    } else if (!values.empty() && entry.curves.kind != values.front().curves.kind) {
      figure.Note(test + ", " + name + ": a " + DescribeKind(*value.Value()) + ", not a " +
                  en::DataType_Name(values.front().curves.kind) + " like the tests before");
    } else {
      values.push_back(std::move(entry));
    }
  }
  return values;
}

}  // namespace

std::string GnuplotString(const std::string& text) {
  std::string literal = "'";
  for (const char c : text) {
    if (c == '\'') {
      literal += "''";
    } else {
      literal += (c == '\n' || c == '\r') ? ' ' : c;
    }
  }
  return literal + "'";
}

Result<PlotScript> BuildPlotScript(const dc::MeasurementContainer& answer,
                                   const std::vector<dc::Clavis>& quantities,
                                   const PlotOptions& options) {
  Figure figure;
  for (const dc::Clavis& quantity : quantities) {
    const std::string name = data::DescribeClavis(quantity);
    const std::vector<TestValue> values = ValuesOf(answer, quantity, figure);
    if (values.empty()) continue;
    const auto testTitle = [&](const TestValue& value) {
      return Title(name, TestLabel(value) + "  \u00b7  " + Context({value}, options));
    };
    switch (values.front().curves.kind) {
      case en::Scalar:
        AddScalarPanel(figure, Title(name, Context(values, options)), values);
        break;
      case en::VectorTrack:
        for (const TestValue& value : values) {
          AddRowsPanel(figure, testTitle(value), value, SharedRange(values), options.waterfall);
        }
        break;
      case en::Matrix:
        for (const TestValue& value : values) {
          AddHeatMapPanel(figure, testTitle(value), value, SharedRange(values), options.format);
        }
        break;
      default:
        AddCurvesPanel(figure, Title(name, Context(values, options)), values);
        break;
    }
  }
  if (figure.Empty()) {
    std::string names;
    for (const dc::Clavis& quantity : quantities) {
      names += (names.empty() ? "" : ", ") + data::DescribeClavis(quantity);
    }
    std::string reasons;
    for (const std::string& note : std::move(figure).Script(options).notes) {
      reasons += "; " + note;
    }
    return Result<PlotScript>::Failure("no test of the answer has a value to plot of " + names +
                                       reasons);
  }
  return Result<PlotScript>::Success(std::move(figure).Script(options));
}

}  // namespace vrex::cli
