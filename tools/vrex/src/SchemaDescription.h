#pragma once
// The compiled-in schema as text: the fields of a message or the values of
// an enumeration, so that people can write requests without the schema files.

#include <string>
#include <string_view>

#include "vrex/Result.h"

namespace vrex::cli {

/// A message ("MeasurementQuery", "bcl.DateTime") as a table of number,
/// field, type and presence, headed by its full name and, for a request,
/// its kind and answer; an enumeration ("LogLevel", "bcl.DateTime.DateTimeKind")
/// as a table of names and numbers. Fails for a name the schema lacks.
Result<std::string> DescribeSchemaType(std::string_view typeName);

}  // namespace vrex::cli
