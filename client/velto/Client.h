// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <velto/Alert.h>
#include <velto/Error.h>
#include <velto/Follower.h>
#include <velto/Monitor.h>
#include <velto/Value.h>
#include <velto/api.h>

namespace velto::alerts {

/// Where the service's socket is: /run/velto/com.ulmora.velto.AlertsDaemon, below the directory
/// that the environment variable VELTO_ROOT names. Any thread, while nobody changes the
/// environment.
VELTO_API std::string serviceSocketPath();

/// How long a call may take when nothing else is said. Posting waits for the delivery.
inline constexpr std::chrono::milliseconds kDefaultTimeLimit = std::chrono::minutes(2);

struct ClientOptions {
  /// Empty: that of the service.
  std::string socketPath = {};
  /// Of each call, connecting included. Absent: as long as it takes.
  std::optional<std::chrono::milliseconds> timeLimit = kDefaultTimeLimit;
};

/// What holds for one call.
struct CallOptions {
  /// Instead of the client's.
  std::optional<std::chrono::milliseconds> timeLimit = {};
  /// Carry the call out a second time when the connection is lost after it has been sent, though it
  /// changes something and may have been carried out already. Calls that only read are repeated
  /// anyway, and so is what was not sent whole.
  bool mayBeRepeated = false;
};

/// Takes a piece of a list, in order; false to have no more of it.
using AlertReceiver = std::function<bool(std::vector<Alert> piece)>;
/// Takes a reply's parameters, as the text of a JSON object; false to have no more of them.
using TextReceiver = std::function<bool(std::string parameters)>;

/// A client of the alerts service.
///
/// It connects with the first call, and again by itself when the service was restarted. Calls of
/// several threads overlap, each over a connection of its own; up to four are kept for later calls.
///
/// Every operation waits for its answer, within the time limit; `inBackground` does not. What fails
/// is told in the outcome. The only exception thrown is std::bad_alloc.
///
/// Any thread may call any operation at any time. The destructor ends what `inBackground` has
/// begun with kClosed, and waits for the reply blocks; it is not called from one of those, nor
/// while another thread is within an operation. After fork() a child makes a client of its own.
class VELTO_API Client {
 public:
  explicit Client(ClientOptions options = {});
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // The 26 operations, in the interface's order. Who may call which is said in the interface file.

  Outcome<std::map<std::string, std::string>> getAttributes(const CallOptions& options = {});
  /// An absent value deletes the attribute.
  Outcome<void> setAttributes(const Value::Dictionary& attributes, const CallOptions& options = {});
  /// Returns when the alert has been delivered and stored. An error of the delivery does not mean
  /// that it was not stored.
  Outcome<void> postAlert(const Alert& alert, const CallOptions& options = {});
  /// Stores the alerts as they are; tells nobody.
  Outcome<void> saveAlerts(const std::vector<Alert>& alerts, const CallOptions& options = {});
  Outcome<void> markAlertAsReadWithAlertId(const std::string& identifier,
                                           const CallOptions& options = {});
  Outcome<void> markAlertAsResolvedWithAlertId(const std::string& identifier,
                                               const CallOptions& options = {});
  Outcome<void> performRecoveryAction(const std::string& action, const std::string& identifier,
                                      const CallOptions& options = {});
  /// Asks every unresolved alert's recovery actions first, which may take long. Lists are asked for
  /// in pieces, so a list that breaks off has a value along with its error: what came before.
  Outcome<std::vector<Alert>> getAlertsFromDate(std::optional<Date> from, std::optional<Date> to,
                                                const CallOptions& options = {});
  Outcome<void> getAlertsFromDate(std::optional<Date> from, std::optional<Date> to,
                                  const AlertReceiver& receiver, const CallOptions& options = {});
  Outcome<std::vector<Alert>> getAlertsOfType(const std::optional<std::string>& type,
                                              const CallOptions& options = {});
  Outcome<void> getAlertsOfType(const std::optional<std::string>& type,
                                const AlertReceiver& receiver, const CallOptions& options = {});
  Outcome<std::vector<Alert>> getAlertsOfBundle(const std::optional<std::string>& bundle,
                                                const CallOptions& options = {});
  Outcome<void> getAlertsOfBundle(const std::optional<std::string>& bundle,
                                  const AlertReceiver& receiver, const CallOptions& options = {});
  /// Without a value when there is none.
  Outcome<Alert> getLastAlertOfType(const std::optional<std::string>& type,
                                    const CallOptions& options = {});
  Outcome<Alert> getLastAlertOfBundle(const std::optional<std::string>& bundle,
                                      const CallOptions& options = {});
  /// How many were deleted.
  Outcome<std::int64_t> deleteAlertsBeforeDate(Date date, const CallOptions& options = {});
  Outcome<void> deleteAlertsWithIds(const std::vector<std::string>& identifiers,
                                    const CallOptions& options = {});
  /// How many were deleted.
  Outcome<std::int64_t> deleteUnsupportedAlerts(const CallOptions& options = {});
  Outcome<void> enableAlertBundle(const std::string& bundle, const CallOptions& options = {});
  Outcome<void> disableAlertBundle(const std::string& bundle, const CallOptions& options = {});
  Outcome<std::vector<std::string>> getAlertBundleNames(const CallOptions& options = {});
  Outcome<BundleSettingsMap> getAlertBundleSettings(const CallOptions& options = {});
  Outcome<void> setAlertBundleSettings(const BundleSettingsMap& settings,
                                       const CallOptions& options = {});
  Outcome<std::vector<MailRecipient>> getMailRecipients(const CallOptions& options = {});
  /// Replaces all that there are.
  Outcome<void> setMailRecipients(const std::vector<MailRecipient>& recipients,
                                  const CallOptions& options = {});
  Outcome<void> addMailRecipients(const std::vector<MailRecipient>& recipients,
                                  const CallOptions& options = {});
  Outcome<std::vector<PushRecipient>> getPushRecipients(const CallOptions& options = {});
  /// Replaces all that there are.
  Outcome<void> setPushRecipients(const std::vector<PushRecipient>& recipients,
                                  const CallOptions& options = {});
  Outcome<void> addPushRecipients(const std::vector<PushRecipient>& recipients,
                                  const CallOptions& options = {});

  // The watching interface. A service that is older than it answers with kInterfaceNotFound.

  Outcome<Status> getStatus(const CallOptions& options = {});
  Outcome<ListPage> list(const ListQuery& query, const CallOptions& options = {});
  Outcome<AlertDetails> getAlert(const std::string& identifier,
                                 const std::optional<std::string>& locale,
                                 const CallOptions& options = {});
  /// The alerts sent after `from` until `to`, counted in steps of so many seconds, 1000 at most.
  Outcome<std::vector<HistoryEntry>> getHistory(Date from, Date to, double step,
                                                const CallOptions& options = {});
  /// Begins to follow the changes, with a bundle or a type only those of their alerts. The time
  /// limit is that of connecting.
  Outcome<Follower> follow(const std::optional<std::string>& bundle = {},
                           const std::optional<std::string>& type = {},
                           const CallOptions& options = {});

  // Any other method.

  /// Calls a method by its full name with the text of a JSON object, or none. The value is the text
  /// of the reply's parameters. What they tell as `error`, for one of the 26, is the outcome's
  /// error.
  Outcome<std::string> call(const std::string& method, const std::string& parameters,
                            const CallOptions& options = {});
  /// The same with `more`: every reply as it comes.
  Outcome<void> call(const std::string& method, const std::string& parameters,
                     const TextReceiver& receiver, const CallOptions& options = {});

  /// Makes a call without waiting for it, and gives what came of it to a reply block:
  ///
  ///     client.inBackground([alert](Client& client) { return client.postAlert(alert); },
  ///                         [](Outcome<void> outcome) { ... });
  ///
  /// The calls of a client that are begun so run one after the other, in order, on a thread of the
  /// client's own. Each reply block is called exactly once, on that thread, and throws nothing;
  /// where no thread is to be had, on the calling one with kSystem.
  template <typename Call, typename ReplyBlock>
  void inBackground(Call call, ReplyBlock reply) {
    using Result = std::invoke_result_t<Call&, Client&>;
    // Shared, since a job can be copied and what it holds perhaps not.
    const auto block = std::make_shared<ReplyBlock>(std::move(reply));
    begin(
        [this, block, call = std::make_shared<Call>(std::move(call))] { (*block)((*call)(*this)); },
        [block](Error error) { (*block)(Result{.error = std::move(error)}); });
  }

 private:
  struct VELTO_INNER Parts;
  void begin(std::function<void()> job, const std::function<void(Error)>& refuse);

  const std::unique_ptr<Parts> parts_;
};

}  // namespace velto::alerts
