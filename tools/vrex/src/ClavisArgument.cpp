#include "ClavisArgument.h"

#include <string>
#include <vector>

namespace vrex::cli {

Result<Korvan::KQ::DataContracts::Clavis> ParseClavisArgument(std::string_view text) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t slash = text.find('/', start);
    parts.emplace_back(text.substr(start, slash - start));
    if (slash == std::string_view::npos) {
      break;
    }
    start = slash + 1;
  }
  if (parts.size() != 6) {
    return Result<Korvan::KQ::DataContracts::Clavis>::Failure(
        "--clavis \"" + std::string(text) + "\" has " + std::to_string(parts.size()) +
        " parts; write all six as Mode/Instrument/Channel/Location/InstrumentParameter/Sensor "
        "(empty parts allowed), as `vrex measurements` shows them");
  }
  Korvan::KQ::DataContracts::Clavis clavis;
  clavis.set_mode(parts[0]);
  clavis.set_instrument(parts[1]);
  clavis.set_channel(parts[2]);
  clavis.set_location(parts[3]);
  clavis.set_instrumentparameter(parts[4]);
  clavis.set_sensor(parts[5]);
  return Result<Korvan::KQ::DataContracts::Clavis>::Success(std::move(clavis));
}

}  // namespace vrex::cli
