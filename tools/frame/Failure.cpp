// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/Failure.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unistd.h>
#include <utility>

#include <velto/Client.h>

#include "platform/foundation/Paths.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

using alerts::ErrorKind;

constexpr std::string_view kDaemonDomain = "AlertsDaemon";
constexpr std::int64_t kInsufficientPrivileges = 103;
constexpr std::int64_t kInsufficientEntitlements = 150;
constexpr std::string_view kMailerDomain = "VeltoAlertsMailer";
constexpr std::string_view kPusherDomain = "UlmoraPushProvider";

/// A gateway's status in the words of HTTP, which are everybody's.
std::string statusText(std::int64_t status) {
  constexpr std::array<std::pair<std::int64_t, const char*>, 12> kWords = {
      {{400, "Bad Request"},
       {401, "Unauthorized"},
       {403, "Forbidden"},
       {404, "Not Found"},
       {405, "Method Not Allowed"},
       {410, "Gone"},
       {413, "Content Too Large"},
       {429, "Too Many Requests"},
       {500, "Internal Server Error"},
       {502, "Bad Gateway"},
       {503, "Service Unavailable"},
       {504, "Gateway Timeout"}}};
  const auto found = std::find_if(kWords.begin(), kWords.end(),
                                  [status](const auto& one) { return one.first == status; });
  return found == kWords.end() ? fmt::format("{}", status)
                               : fmt::format("{} ({})", found->second, status);
}

std::string withoutPoint(std::string text) {
  while (!text.empty() && (text.back() == '.' || text.back() == '\n'))
    text.pop_back();
  return text;
}

/// How somebody who is not root goes on.
std::string asRootAdvice() {
  return geteuid() == 0 ? tr("ask as the host's user 0, not from within a container")
                        : tr("try it with sudo");
}

std::string noDaemonAdvice() {
  if (isPrivateSystem()) return tr("VELTO_ROOT is set: is alertsd running with the same?");
  return tr("is it running? systemctl start velto-alerts");
}

bool isDenied(const alerts::Error& error) {
  return error.kind == ErrorKind::kNotPermitted || error.kind == ErrorKind::kSocketNotPermitted ||
         (error.domain == kDaemonDomain &&
          (error.code == kInsufficientPrivileges || error.code == kInsufficientEntitlements));
}

/// What a gateway answered, if its status does not say the same; nothing when it did not answer.
std::optional<std::string> gatewayWords(const alerts::Error& error) {
  const auto words = error.information.find("NSLocalizedDescription");
  // They come as bytes, since a gateway's words need not be text.
  const auto* bytes =
      words == error.information.end() ? nullptr : words->second.get<alerts::Data>();
  if (bytes == nullptr) return std::nullopt;
  const std::string answer =
      printable(withoutPoint({reinterpret_cast<const char*>(bytes->data()), bytes->size()}));
  return statusText(error.code).starts_with(answer) ? "" : answer;
}

Failure failureOfService(const alerts::Error& error, Failure failure) {
  const std::string words = withoutPoint(printable(error.description));
  if (error.domain == kMailerDomain) {
    failure.what = error.code < 0 ? tr("the mail program could not be started")
                                  : say("the mail program ended with status {}", error.code);
    failure.advice = tr("see alertsctl deliveries, and the log: journalctl -u velto-alerts");
  } else if (error.domain == kPusherDomain) {
    const auto answer = gatewayWords(error);
    failure.what = answer ? say("the push gateway answered {}{}", statusText(error.code),
                                answer->empty() ? "" : ": " + *answer)
                          : say("the push gateway was not reached: {}", words);
    failure.advice = tr("see alertsctl deliveries, and /etc/velto/push");
  } else {
    failure.what = say("{} ({} {})", words, printable(error.domain), error.code);
  }
  return failure;
}

std::string adviceFor(const alerts::Error& error) {
  switch (error.kind) {
    case ErrorKind::kNoDaemon:
      return noDaemonAdvice();
    case ErrorKind::kInterfaceNotFound:
    case ErrorKind::kMethodNotImplemented:
      return tr("the daemon is older than this tool: systemctl restart velto-alerts");
    case ErrorKind::kNoSuchAlert:
      return tr("see alertsctl list");
    case ErrorKind::kConnectionLost:
    case ErrorKind::kTimedOut:
      return error.mayHaveBeenCarriedOut
                 ? tr("it may have been carried out: look before you repeat it")
                 : tr("see systemctl status velto-alerts");
    default:
      return {};
  }
}

}  // namespace

std::string Failure::line() const {
  return advice.empty() ? what : what + "; " + advice;
}

Failure usageFailure(std::string what, std::string advice) {
  return {.status = kExitUsage, .what = std::move(what), .advice = std::move(advice)};
}

Failure failureOf(const alerts::Error& error) {
  Failure failure{.status = kExitFailed, .error = error};
  if (isDenied(error)) {
    failure.status = kExitNotPermitted;
    failure.what = error.kind == ErrorKind::kSocketNotPermitted
                       ? say("the socket does not let user {} in: {}", geteuid(),
                             printable(alerts::serviceSocketPath()))
                       : tr("only root and its group may do this");
    failure.advice = asRootAdvice();
    return failure;
  }
  if (error.kind == ErrorKind::kService) return failureOfService(error, std::move(failure));
  failure.what = withoutPoint(printable(error.description));
  if (error.kind == ErrorKind::kNoDaemon) {
    failure.status = kExitNoDaemon;
    failure.what =
        say("cannot connect to {}: nobody answers there", printable(alerts::serviceSocketPath()));
  }
  failure.advice = adviceFor(error);
  return failure;
}

}  // namespace velto
