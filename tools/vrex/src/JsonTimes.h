#pragma once
// The contract writes a time as {"value": "1710223091", "scale": "SECONDS",
// "kind": "UTC"}; the JSON of the table commands adds the same time in
// ISO 8601 beside it, for scripts and spreadsheets that read dates.

#include <string>

namespace vrex::cli {

/// `json` (as MessageToJson writes it) with a member "<Name>Iso" holding
/// "2024-03-12T05:58:11Z" after each time member "<Name>".
std::string WithIsoTimes(const std::string& json);

}  // namespace vrex::cli
