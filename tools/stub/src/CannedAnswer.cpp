#include "vrex/stub/CannedAnswer.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/message.h>

#include <utility>

namespace vrex::stub {

std::string SerializeDeterministically(const google::protobuf::Message& message) {
  std::string bytes;
  {
    google::protobuf::io::StringOutputStream output(&bytes);
    google::protobuf::io::CodedOutputStream coded(&output);
    coded.SetSerializationDeterministic(true);
    message.SerializeToCodedStream(&coded);
  }  // the coded stream trims the string when it goes out of scope
  return bytes;
}

CannedAnswer TextAnswer(int status, std::string text) {
  CannedAnswer answer;
  answer.status = status;
  answer.body = std::move(text) + "\n";
  answer.contentType = "text/plain";
  return answer;
}

CannedAnswer MessageAnswer(const google::protobuf::Message& message) {
  CannedAnswer answer;
  answer.body = SerializeDeterministically(message);
  return answer;
}

}  // namespace vrex::stub
