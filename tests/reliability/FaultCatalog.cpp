#include "FaultCatalog.h"

#include <chrono>

#include "StubFixture.h"

namespace vrex::reliability {

namespace {

using Event = Outcome::Event;
using stub::CannedAnswer;
using stub::Delivery;
using testing::Answer;

// Long enough that only the server's stop (or the client) ends it.
constexpr std::chrono::minutes kForever{10};
// A short silence the established Post can afford to wait out.
constexpr std::chrono::milliseconds kBriefSilence{100};

CannedAnswer VersionAnswer(Delivery delivery, std::chrono::milliseconds delay) {
  return testing::Delivered(ServerVersion().SerializeAsString(), delivery, 1, {}, delay);
}

// The version's encoding cut inside its DevelopmentName: every byte is sent,
// but the message ends too early.
std::string TruncatedVersion() {
  const std::string whole = ServerVersion().SerializeAsString();
  return whole.substr(0, whole.size() - 3);
}

// Major 4, then DevelopmentName (field 4) holding a byte pair that is no UTF-8.
const std::string kInvalidUtf8Version("\x08\x04\x22\x02\xc3\x28", 6);

// Larger than one libcurl write (16 KiB): only a callback that appends every
// chunk gives the whole message.
std::string LargeVersion() {
  contracts::VersionDTO version = ServerVersion();
  version.set_developmentname(std::string(100 * 1024, 'n') + "end");
  return version.SerializeAsString();
}

const std::string kHtmlPage =
    "<!DOCTYPE html>\n<html><head><title>502 Bad Gateway</title></head>\n"
    "<body><h1>Bad Gateway</h1><p>The proxy could not reach the upstream server.</p>"
    "</body></html>\n";

CannedAnswer Redirect() {
  // Followed, it would reach an endpoint that answers 200.
  CannedAnswer answer = Answer(302, "", "text/plain");
  answer.headers.push_back({"Location", "/api/SimpleTopologyQuery"});
  return answer;
}

PostExpectation PostTransferFailed() {
  return {enums::CodeCategory_Backend, enums::NoDetailCode, enums::Error,
          ResponseFate::Untouched, true};
}
PostExpectation PostStatus(enums::DetailCode detail) {
  return {enums::CodeCategory_ApiPipeline, detail, enums::Error, ResponseFate::Untouched, false};
}
PostExpectation PostUnreadable() {
  return {enums::CodeCategory_Backend, enums::NoDetailCode, enums::Error, ResponseFate::Unknown,
          false};
}
PostExpectation PostSucceeded() {
  return {enums::CodeCategory_None, enums::NoDetailCode, enums::Trace, ResponseFate::Parsed,
          false};
}

// `status`: the status of a head that came before the transfer broke off.
ClientExpectation ClientBrokeOff(Event where, int status = 0) {
  return {where, status, ResponseFate::Untouched};
}
ClientExpectation ClientStatus(int status) {
  return {Event::HttpStatusFailed, status, ResponseFate::Untouched};
}
ClientExpectation ClientSucceeded() { return {Event::Succeeded, 200, ResponseFate::Parsed}; }
ClientExpectation ClientUnreadable() { return {Event::AnswerUnreadable, 200, ResponseFate::Unknown}; }

std::vector<Fault> MakeFaults() {
  const std::string protobuf = "application/x-protobuf";
  const std::string version = ServerVersion().SerializeAsString();
  return {
      // Only 200 succeeds; 400 to 499 are the server's refusal, any other a
      // failure, even with a readable answer.
      {"Status399", Target::Stub, Answer(399, "", "text/plain"),
       PostStatus(enums::ApiPipeline_Failed), ClientStatus(399)},
      {"Status400", Target::Stub, Answer(400, "", "text/plain"),
       PostStatus(enums::ApiPipeline_Unauthorized), ClientStatus(400)},
      {"Status499WithAnswer", Target::Stub, Answer(499, version, protobuf),
       PostStatus(enums::ApiPipeline_Unauthorized), ClientStatus(499)},
      {"Status500", Target::Stub, Answer(500, "", "text/plain"),
       PostStatus(enums::ApiPipeline_Failed), ClientStatus(500)},
      {"Status201WithAnswer", Target::Stub, Answer(201, version, protobuf),
       PostStatus(enums::ApiPipeline_Failed), ClientStatus(201)},
      {"Status204", Target::Stub, Answer(204, "", "text/plain"),
       PostStatus(enums::ApiPipeline_Failed), ClientStatus(204)},
      {"EmptyAnswer", Target::Stub, Answer(200, "", protobuf), PostSucceeded(), ClientSucceeded()},
      {"LargerThanOneWrite", Target::Stub, Answer(200, LargeVersion(), protobuf), PostSucceeded(),
       ClientSucceeded()},
      {"DelayWithinBound", Target::Stub, VersionAnswer(Delivery::Whole, kBriefSilence),
       PostSucceeded(), ClientSucceeded()},
      {"SilentServer", Target::Stub, VersionAnswer(Delivery::CloseWithoutAnswer, kForever),
       PostTransferFailed(), ClientBrokeOff(Event::NoAnswer), true},
      {"SilenceThenClose", Target::Stub, VersionAnswer(Delivery::CloseWithoutAnswer, kBriefSilence),
       PostTransferFailed(), ClientBrokeOff(Event::NoAnswer)},
      {"CloseMidBody", Target::Stub,
       VersionAnswer(Delivery::CloseMidBody, std::chrono::milliseconds(0)), PostTransferFailed(),
       ClientBrokeOff(Event::BrokenAnswer, 200)},
      {"SilentMidBody", Target::Stub, VersionAnswer(Delivery::CloseMidBody, kForever),
       PostTransferFailed(), ClientBrokeOff(Event::ReceiveTimedOut, 200), true},
      {"TruncatedBody", Target::Stub, Answer(200, TruncatedVersion(), protobuf), PostUnreadable(),
       ClientUnreadable()},
      {"GarbageBody", Target::Stub, Answer(200, std::string(16, '\xff'), protobuf),
       PostUnreadable(), ClientUnreadable()},
      {"InvalidUtf8String", Target::Stub, Answer(200, kInvalidUtf8Version, protobuf),
       PostUnreadable(), ClientUnreadable()},
      {"HtmlPageWithStatus200", Target::Stub, Answer(200, kHtmlPage, "text/html"),
       PostUnreadable(), ClientUnreadable()},
      {"HtmlErrorPage502", Target::Stub, Answer(502, kHtmlPage, "text/html"),
       PostStatus(enums::ApiPipeline_Failed), ClientStatus(502)},
      {"Redirect302", Target::Stub, Redirect(), PostStatus(enums::ApiPipeline_Failed),
       ClientStatus(302)},
      {"RefusedConnection", Target::RefusedPort, {}, PostTransferFailed(),
       ClientBrokeOff(Event::Unreachable)},
      {"UnknownHost", Target::UnknownHost, {}, PostTransferFailed(),
       ClientBrokeOff(Event::Unreachable)},
  };
}

}  // namespace

void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }

contracts::VersionDTO ServerVersion() {
  contracts::VersionDTO version;
  version.set_major(4);
  version.set_minor(2);
  version.set_patch(1);
  version.set_developmentname("nightly build of the results server");
  return version;
}

const std::vector<Fault>& Faults() {
  static const std::vector<Fault> faults = MakeFaults();
  return faults;
}

std::vector<Fault> FaultsWherePostWaits(bool waits) {
  std::vector<Fault> selected;
  for (const Fault& fault : Faults()) {
    if (fault.postWaitsForServer == waits) {
      selected.push_back(fault);
    }
  }
  return selected;
}

}  // namespace vrex::reliability
