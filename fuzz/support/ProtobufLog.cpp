#include "ProtobufLog.h"

#include <google/protobuf/stubs/logging.h>

namespace vrex::fuzz {

void DiscardProtobufLog() {
  google::protobuf::SetLogHandler([](google::protobuf::LogLevel, const char*, int,
                                     const std::string&) {});
}

}  // namespace vrex::fuzz
