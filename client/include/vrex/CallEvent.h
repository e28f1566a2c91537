#pragma once
// What became of a call, in one list: the transport says with it where an
// exchange broke off (HttpResponse::failure), the client adds what the
// answer made of it, and Outcome reports it. A transfer that failed also
// says why, as far as it could tell (FailureCause), so that no caller needs
// to read the transfer's wording.

#include <string_view>

#include "vrex/Export.h"

namespace vrex {

enum class CallEvent {
  Succeeded,  ///< HTTP 200 and, for a query, an answer that parsed
  /// In an HttpResponse: the exchange completed, whatever the status.
  None = Succeeded,
  // The ways an exchange can fail before a complete HTTP answer is in:
  Unreachable,      ///< no connection: name resolution, refused, connect time-out, TLS, proxy
  NoAnswer,         ///< connected and sent, but no answer came (in time, or at all)
  ReceiveTimedOut,  ///< the answer began but did not finish in time
  BrokenAnswer,     ///< the server answered, but not in readable HTTP: cut short, malformed,
                    ///< header lines without end
  AnswerTooLarge,   ///< the answer passed ClientOptions::maxAnswerBytes or
                    ///< DownloadOptions::maxBytes
  ClientFailed,     ///< on this side: the caller's handler threw, or memory ran out
  TransportFailed,  ///< any other failure of the transfer
  // The end of the transfer list.
  Cancelled,         ///< the call was cancelled: by the caller (CallCanceller, CancelAll, a
                     ///< download's handler returning false) or by the client's destruction
  HttpStatusFailed,  ///< the server answered with a status other than 200
  AnswerUnreadable,  ///< HTTP 200, but the body is not the expected message
  FileFailed,        ///< a download could not be written to its file
};

/// True for the events from Unreachable to TransportFailed.
constexpr bool IsTransferFailure(CallEvent event) {
  return event >= CallEvent::Unreachable && event <= CallEvent::TransportFailed;
}

VREX_EXPORT std::string_view ToString(CallEvent event);

/// Why a transfer failed, where the transfer could tell more than its event.
enum class FailureCause {
  Unknown,              ///< no more than the event says, or no failure
  ConnectionRefused,    ///< nothing takes connections at the server's address and port
  HostNotResolved,      ///< the server's host name did not resolve
  ProxyNotResolved,     ///< the proxy's host name did not resolve
  ProxyFailed,          ///< the proxy did not pass the connection on
  ConnectTimedOut,      ///< the time-out passed before a connection was made
  CertificateRejected,  ///< the server's certificate was not trusted
  TlsFailed,            ///< the TLS handshake failed otherwise: protocol, cipher, own
                        ///< certificate or key
  UnsupportedScheme,    ///< the URL names neither http nor https
  AnswerTimedOut,       ///< connected, but the time-out passed before the answer was in
  ConnectionClosed,     ///< the connection closed or broke before the answer was in
};

VREX_EXPORT std::string_view ToString(FailureCause cause);

}  // namespace vrex
