// Administering a line's shift plan with the session client: read the plan
// with a query, add a shift with a command, and handle a failed command the
// safe way.
//
// A command answers with its outcome alone (vrex::Outcome, no message), and
// the client sends it exactly once, whatever the retry policy says: after a
// time-out or a 503 nobody knows whether the server applied it, and sending
// it again could apply it twice. Queries change nothing, so the client may
// repeat them. This example therefore never re-sends a failed command; it
// asks the server with a query whether the change is there.
//
//   shift_admin SERVER_URL [FACTORY LINE]
#include <algorithm>
#include <iostream>
#include <string>

#include "AddShiftCommand.pb.h"
#include "GetShiftQuery.pb.h"
#include "ShiftContainer.pb.h"
#include "vrex/Client.h"

namespace {

namespace dc = Korvan::KQ::DataContracts;
namespace en = Korvan::KQ::DataContracts::Enumerator;

constexpr const char* kNewShift = "Weekend";

std::string ClockText(int minuteOfDay) {
  const auto twoDigits = [](int n) { return (n < 10 ? "0" : "") + std::to_string(n); };
  return twoDigits(minuteOfDay / 60) + ":" + twoDigits(minuteOfDay % 60);
}

void PrintPlan(const dc::ShiftContainer& plan) {
  for (const dc::Shift& shift : plan.values()) {
    std::cout << "  " << shift.name() << ':';
    for (const dc::ShiftItem& item : shift.items()) {
      const int days = item.weekdays_size();
      std::cout << ' ' << ClockText(item.start()) << '-' << ClockText(item.end()) << " (" << days
                << (days == 1 ? " day)" : " days)");
    }
    std::cout << '\n';
  }
}

bool HasShift(const dc::ShiftContainer& plan, const std::string& name) {
  return std::any_of(plan.values().begin(), plan.values().end(),
                     [&](const dc::Shift& shift) { return shift.name() == name; });
}

/// The line's shift plan; a query, so the client may repeat it after a
/// transient failure (the outcome tells how often it tried).
vrex::Result<dc::ShiftContainer, vrex::Outcome> ReadPlan(const vrex::Client& client,
                                                         const std::string& factory,
                                                         const std::string& line) {
  dc::GetShiftQuery query;
  query.set_factory(factory);
  query.set_line(line);
  auto plan = client.Send(query);
  std::cout << plan.GetStatus().Message() << '\n';
  return plan;
}

dc::AddShiftCommand WeekendShift(const std::string& factory, const std::string& line) {
  dc::AddShiftCommand command;
  command.set_factory(factory);
  command.set_line(line);
  dc::Shift& shift = *command.mutable_shift();
  shift.set_name(kNewShift);
  dc::ShiftItem& item = *shift.add_items();
  item.set_start(6 * 60);
  item.set_end(14 * 60);
  item.add_weekdays(en::Saturday);
  item.add_weekdays(en::Sunday);
  return command;
}

/// After a failed command: was it applied anyway? Only a query can tell.
int Reconcile(const vrex::Client& client, const std::string& factory, const std::string& line) {
  std::cout << "The command failed and is not sent again. Asking the server instead:\n";
  const auto plan = ReadPlan(client, factory, line);
  if (!plan) {
    std::cout << "State unknown: the plan cannot be read either; check before retrying.\n";
    return 1;
  }
  if (HasShift(*plan, kNewShift)) {
    std::cout << "Shift " << kNewShift << " is in the plan: the server applied the command.\n";
    return 0;
  }
  std::cout << "Shift " << kNewShift
            << " is not in the plan: nothing was applied; it is safe to send the command again "
               "once the cause is fixed.\n";
  return 1;
}

vrex::ClientOptions OptionsFor(const std::string& server) {
  vrex::ClientOptions options;
  options.baseUrl = server;
  // Up to four attempts for queries; commands get one whatever this says.
  options.retry.maxAttempts = 4;
  options.retry.initialDelay = std::chrono::milliseconds(50);
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    std::cerr << "usage: shift_admin SERVER_URL [FACTORY LINE]\n";
    return 2;
  }
  const std::string factory = argc == 4 ? argv[2] : "Plant-North";
  const std::string line = argc == 4 ? argv[3] : "Line-A";
  const vrex::Client client(OptionsFor(argv[1]));

  std::cout << "Shift plan of " << factory << " / " << line << '\n';
  const auto plan = ReadPlan(client, factory, line);
  if (!plan) return 1;
  PrintPlan(*plan);
  if (HasShift(*plan, kNewShift)) {
    std::cout << "Shift " << kNewShift << " exists already; nothing to add.\n";
    return 0;
  }

  const vrex::Outcome added = client.Send(WeekendShift(factory, line));
  std::cout << added.Message() << '\n'
            << "  sent " << added.Attempts() << (added.Attempts() == 1 ? " time" : " times")
            << " (commands are never repeated)\n";
  if (!added) return Reconcile(client, factory, line);
  std::cout << "Shift " << kNewShift << " added.\n";
  return 0;
}
