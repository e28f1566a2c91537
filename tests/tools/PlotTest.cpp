// The gnuplot script of `vrex plot` for each kind of value, from the sample
// plant's measurements; and one picture drawn when gnuplot is installed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "Gnuplot.h"
#include "MeasurementContainer.pb.h"
#include "PlotScript.h"
#include "VrexHarness.h"
#include "vrex/MessageJson.h"
#include "vrex/data/Clavis.h"

namespace vrex::cli {
namespace {

namespace dc = ::Korvan::KQ::DataContracts;
using ::testing::HasSubstr;

dc::MeasurementContainer SampleMeasurements() {
  std::ifstream file(std::string(VREX_STUB_SAMPLE_PLANT) + "/MeasurementQuery.json");
  const auto message = MessageFromJson(
      "MeasurementContainer",
      std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
  EXPECT_TRUE(message.Ok()) << message.GetStatus().Message();
  return message.Ok() ? dynamic_cast<const dc::MeasurementContainer&>(*message.Value())
                      : dc::MeasurementContainer();
}

struct ScriptCase {
  std::string name;
  std::vector<std::string> quantities;
  PlotOptions options;
  std::vector<std::string> commands;  ///< parts of the commands
  std::vector<std::string> data;      ///< parts of the datablocks
};

const std::string kScalar = "Run-Up/Level/Mic-1/Gearbox/RMS/MIC-4189-A";
const std::string kTrack = "Run-Up/Tracker/Acc-1/Housing/Order 2 level/ACC-356A";
const std::string kVector = "Idle/FFT/Mic-1/Gearbox/Spectrum/MIC-4189-A";
const std::string kVectorTrack = "Run-Up/FFT/Acc-1/Housing/Spectrum over speed/ACC-356A";
const std::string kMatrix = "Run-Up/Campbell/Mic-1/Gearbox/Order map/MIC-4189-A";
const PlotOptions kPng{PlotFormat::Png, "out.png", false, "F / L", data::LineTimeZone::Utc()};

const std::vector<ScriptCase> kScriptCases = {
    {"VectorsOverlaidWithTheirLimit",
     {kVector},
     kPng,
     {"set terminal pngcairo", "size 1000,520\n", "output = 'out.png'\nset output output\n",
      "set title '" + kVector + "' . \"\\n\" . 'F / L, Bench-1, 2024-03-12'\n",
      "set xlabel 'Frequency [Hz]'\n", "set ylabel 'Sound pressure level [dB re 2e-05 Pa]'\n",
      "$data1 using 1:2 with linespoints lt 2 title '1001  SN-24-0003141  OK'",
      "$data2 using 1:2 with linespoints lt 3 title '1002  SN-24-0003142  NOK'",
      "$data4 using 1:2 with lines ls 101 title 'upper limit: Idle spectrum mask'\n"},
     {"$data2 << EOD\n0 43\n250 64.7\n500 52.3\n", "1750 36\nEOD\n$data3",
      "$data4 << EOD\n0 60\n"}},
    {"ScalarTracksOverTheirAxis",
     {kTrack},
     kPng,
     {"set xlabel 'Speed [rpm]'\n", "set ylabel 'Acceleration [m/s^2]'\n",
      "title 'upper limit: Order 2 upper limit'"},
     {"1000 0.08\n1500 0.12\n2200 0.17\n3000 0.22\n3800 0.29\nEOD\n"}},
    {"ScalarsOnePointPerTestWithLevelLines",
     {kScalar},
     kPng,
     {"set xrange [0.5:3.5]\nset xlabel 'Test'\n", "using 1:2:xtic(3) with points ps 2",
      "ls 101 title 'upper limit: Gearbox noise upper limit'",
      "ls 102 title 'reference: Golden unit'"},
     {"$data2 << EOD\n2 81.3 \"1002\"\nEOD\n", "0.5 78\n3.5 78\nEOD\n", "0.5 70.5\n3.5 70.5\n"}},
    {"VectorTrackRowsColouredByZPerTest",
     {kVectorTrack},
     kPng,
     {"set multiplot layout 3,1\n", "size 1000,1560\n",
      "'" + kVectorTrack +
          "' . \"\\n\" . '1002  SN-24-0003142  NOK  \u00b7  F / L, Bench-1, 2024-03-12'",
      "with lines lw 2 lc palette cb 3000 title '3000 rpm'", "set cbrange [1000:3000]\n",
      "set cblabel 'Speed [rpm]'\n", "set yrange [0.0095:0.351]\n",
      "title 'upper limit: Housing vibration limit'", "unset multiplot\n"},
     {"0 0.078\n500 0.351\n1000 0.182\n1500 0.065\n"}},
    {"VectorTrackAsWaterfall",
     {kVectorTrack},
     {PlotFormat::Svg, "out.svg", true, "", data::LineTimeZone::Utc()},
     {"set terminal svg", "splot $data1 using 1:2:3:2 with lines",
      "$data2 using 1:2:3 with lines ls 101 title 'upper limit: Housing vibration limit'",
      "set zlabel 'Acceleration [m/s^2]'", "set ylabel 'Speed [rpm]'\n",
      "set zrange [0.0095:0.351]\n"},
     {"0 1000 0.02\n500 1000 0.11\n1000 1000 0.05\n1500 1000 0.01\n\n\n0 2000 0.04\n",
      "EOD\n$data2 << EOD\n0 1000 0.3\n500 1000 0.3\n"}},
    {"MatrixAsHeatMapsOnOneScale",
     {kMatrix},
     kPng,
     {"using 1:2:3 with image notitle", "set xlabel 'Order'\nset ylabel 'Speed [rpm]'\n",
      "right = 0.86\n", "set lmargin at screen 0.09\nset rmargin at screen right\n",
      "set cbrange [40.2:70]\n", "set cblabel 'Sound pressure level [dB re 2e-05 Pa]'\n"},
     {"1 1000 52.1\n2 1000 48.3\n3 1000 44\n4 1000 40.2\n\n1 2000 58.4\n"}},
    {"MatrixInSvgDrawnAsCells",
     {kMatrix},
     {PlotFormat::Svg, "out.svg", false, "", data::LineTimeZone::Utc()},
     {"using 1:2:3 with image pixels notitle"},
     {}},
    {"PanelPerQuantity",
     {kVector, kScalar},
     kPng,
     {"set multiplot layout 2,1\n", "size 1000,1040\n", "right = 0.97\n"},
     {}},
};

void PrintTo(const ScriptCase& testCase, std::ostream* os) { *os << testCase.name; }

class PlotScriptTest : public ::testing::TestWithParam<ScriptCase> {};

TEST_P(PlotScriptTest, DrawsTheKindWithItsAxesLegendAndData) {
  std::vector<dc::Clavis> quantities;
  for (const std::string& text : GetParam().quantities) {
    quantities.push_back(data::ParseClavis(text).Value());
  }
  const auto script = BuildPlotScript(SampleMeasurements(), quantities, GetParam().options);
  ASSERT_TRUE(script.Ok()) << script.GetStatus().Message();
  for (const std::string& part : GetParam().commands) {
    EXPECT_THAT(script.Value().commands, HasSubstr(part));
  }
  for (const std::string& part : GetParam().data) EXPECT_THAT(script.Value().data, HasSubstr(part));
  EXPECT_TRUE(script.Value().notes.empty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, PlotScriptTest, ::testing::ValuesIn(kScriptCases),
                         [](const auto& info) { return info.param.name; });

TEST(PlotScript, CircleTheCellsOfAMatrixAboveItsUpperLimit) {
  dc::MeasurementContainer answer = SampleMeasurements();
  auto& values =
      *(*answer.mutable_measurements())[1002].mutable_measurementvalues()->mutable_values();
  auto& ceiling = *values[5].mutable_matrix()->mutable_limits(0);
  for (auto& row : *ceiling.mutable_matrixelements()) row.mutable_vectorpoints(1)->set_y(60);
  const auto script = BuildPlotScript(answer, {data::ParseClavis(kMatrix).Value()}, kPng);
  ASSERT_TRUE(script.Ok());
  EXPECT_THAT(script.Value().commands,
              HasSubstr("with points pt 6 ps 1.5 lw 1.5 lc rgb 'black' title 'above upper limit: "
                        "Order map ceiling'"));
  EXPECT_THAT(script.Value().data, HasSubstr("EOD\n$data3 << EOD\n2 3000\nEOD\n"));
}

TEST(PlotScript, TestsOfOneColourByIdentifierTakeTheNextFreeColour) {
  dc::MeasurementContainer answer = SampleMeasurements();
  (*answer.mutable_measurements())[1010] = answer.measurements().at(1002);
  const auto script = BuildPlotScript(answer, {data::ParseClavis(kVector).Value()}, kPng);
  ASSERT_TRUE(script.Ok());
  EXPECT_THAT(script.Value().commands, HasSubstr("lt 3 title '1002 "));
  EXPECT_THAT(script.Value().commands, HasSubstr("lt 4 title '1010 "));
}

TEST(PlotScript, QuotesTextForGnuplot) { EXPECT_EQ(GnuplotString("it's\nhere"), "'it''s here'"); }

class PlotPicture : public testing::PlantServerTest {};

TEST_F(PlotPicture, GnuplotDrawsAPng) {
  if (FindProgram("gnuplot").empty()) GTEST_SKIP() << "gnuplot is not installed";
  const auto run = Vrex({"plot", "{url}", "--factory=Plant-North", "--line=Line-A",
                         "--clavis=" + kVector, "--clavis=" + kMatrix, "-o", "{dir}/p.png"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  std::ifstream picture(scratch.Path() / "p.png", std::ios::binary);
  std::string signature(8, '\0');
  picture.read(signature.data(), 8);
  EXPECT_EQ(signature, "\x89PNG\r\n\x1a\n");
}

}  // namespace
}  // namespace vrex::cli
