// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/AlertBundleRegistry.h"
#include "alerts/EmailFormatter.h"
#include "alerts/VLAlert.h"
#include "delivery/DeliveryJournal.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/LimitedLog.h"
#include "store/ADAlertStore.h"

namespace velto {

class Task;

/// The domain of the error of a mail program that did not take a message. The code is the program's
/// exit status (128 plus the signal's number when a signal ended it, also when it took too long),
/// or -1 when it could not be started or the message could not be handed over to all its
/// recipients.
inline constexpr std::string_view kMailerErrorDomain = "VeltoAlertsMailer";

/// More time than a mail program needs that still does something.
inline constexpr std::chrono::minutes kMailProgramTimeLimit{10};

/// Mails an alert to its recipients, one message a language, through the mail program of the
/// system. Everything runs on the calling thread, which waits for the program until its time is
/// over. Each message leaves an entry in the journal. Has no state of its own, so any thread.
class ADAlertMailer {
 public:
  /// The Shared mailer.
  static ADAlertMailer& sharedInstance();

  /// The language of a new mail recipient, from the Shared DefaultLanguages. Any thread.
  static std::string defaultLocalizationForEmailAddress(std::string_view address);

  /// `mailProgram` is the path of a program that takes a whole message on its standard input and
  /// the recipients from the message's header with "-t". After `timeLimit` it is ended, with all
  /// that it has started.
  ADAlertMailer(AlertBundleRegistry& bundles, std::string mailProgram, Log& log, const Clock& clock,
                DeliveryJournal& journal,
                std::chrono::milliseconds timeLimit = kMailProgramTimeLimit);

  /// Mails the alert to every enabled mail recipient of the store. Nothing when every message was
  /// taken. An error of the store, of the alert's bundle or of the formatter ends it at once; a
  /// message that the mail program does not take does not keep the others back, and the first such
  /// status is the error's code. `bundle` is the alert's, where it is in use already.
  std::optional<Error> mailAlert(const VLAlert& alert, ADAlertStore& store,
                                 BundleInUse bundle = nullptr);

  /// A new formatter, from the bundle "Common"; null when there is none.
  std::unique_ptr<EmailFormatter> getEmailFormatter();

  /// Hands one message to the mail program: 0 when it was taken, 1 without addresses. An absent
  /// message is written as nothing. An address that would add a header line or another mailbox is
  /// left out, with a line in the log, and the status is then never 0; without any other nothing is
  /// started. An address or a sender that is not a single line of ASCII, its encoded display name
  /// aside, makes the message fail: it cannot stand in a header. What the program says goes to the
  /// log if it fails.
  int sendMail(const std::vector<std::string>& addresses, const std::optional<std::string>& subject,
               const std::optional<std::string>& message,
               const std::optional<std::string>& fromAddress);

 private:
  int mailInLanguage(const VLAlertSubclass& alert, const std::string& localization,
                     const std::vector<std::string>& addresses, ErrorSlot error);
  std::vector<std::string> acceptedAddresses(const std::vector<std::string>& addresses);
  void logFailure(const Task& task, const std::optional<Error>& error);

  AlertBundleRegistry& bundles_;
  const std::string mailProgram_;
  Log& log_;
  LimitedLog repeatedLines_;
  LimitedLog dailyLog_;
  DeliveryJournal& journal_;
  const std::chrono::milliseconds timeLimit_;
};

}  // namespace velto
