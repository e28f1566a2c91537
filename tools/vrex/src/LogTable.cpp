#include "LogTable.h"

#include "LogLevel.pb.h"
#include "TextTable.h"

namespace vrex::cli {

namespace {

namespace dc = ::Korvan::KQ::DataContracts;
namespace en = ::Korvan::KQ::DataContracts::Enumerator;

std::string ContextOf(const dc::LogEntryContainer& log) {
  std::string context;
  for (const std::string* part : {&log.factory(), &log.line(), &log.testbench()}) {
    if (!part->empty()) {
      context += (context.empty() ? "" : " / ") + *part;
    }
  }
  return context.empty() ? "the server" : context;
}

}  // namespace

std::string RenderLog(const dc::LogEntryContainer& log, const LineTimeZone& zone) {
  std::string text = "Log of " + ContextOf(log);
  if (log.has_lastmodified()) {
    text += ", last changed " + zone.Format(log.lastmodified());
  }
  text += "\n";
  if (log.logentries_size() == 0) {
    return text + "No log entries match.\n";
  }
  TextTable table({"TIME (" + zone.Name() + ")", "LEVEL", "SOURCE", "EVENT", "MESSAGE"});
  for (const dc::LogEntry& entry : log.logentries()) {
    table.AddRow({zone.Format(entry.timestamp()), en::LogLevel_Name(entry.level()),
                  entry.sourcecontext(), entry.eventid(), entry.message()});
    if (!entry.exception().empty()) {
      table.AddRow({"", "", "", "", "  exception: " + entry.exception()});
    }
  }
  return text + table.Render();
}

}  // namespace vrex::cli
