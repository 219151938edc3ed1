// SPDX-License-Identifier: Apache-2.0
#include "delivery/ADAlertMailer.h"

#include <utility>

#include "delivery/MailHeader.h"
#include "platform/foundation/Languages.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/Shared.h"
#include "platform/foundation/SingleLine.h"
#include "platform/process/Task.h"
#include "store/DefaultLanguages.h"

namespace velto {
namespace {

constexpr std::string_view kFormatterClass = "EmailFormatter";
constexpr std::string_view kFormatterBundle = "Common";

constexpr std::string_view kErrorPrefix = "Error sending alert email: ";
constexpr int kNotHandedOver = -1;

/// What the program said, behind a colon and in one line; empty when it said nothing.
std::string said(const Task& task) {
  const KeptOutput* output = task.output();
  const std::string text = output == nullptr ? "" : singleLine(output->text());
  if (text.empty()) {
    return "";
  }
  const std::size_t dropped = output->dropped();
  return ": " + text + (dropped == 0 ? "" : " (and " + std::to_string(dropped) + " more bytes)");
}

std::optional<Error> handOver(Task& task, const std::vector<std::string>& addresses,
                              const std::optional<std::string>& subject,
                              const std::optional<std::string>& message,
                              const std::optional<std::string>& fromAddress) {
  if (auto error = task.launch()) {
    return error;
  }
  std::optional<Error> error;
  const auto header = mailHeader(addresses, subject, fromAddress, &error);
  if (!header) {
    // Nothing is written unless all of the header can be: half a message might be sent.
    return error;
  }
  error = task.write(*header);
  return error ? error : task.write(message.value_or(""));
}

/// Why a message has not been sent, in a line; empty when it has.
std::string reasonOf(const std::optional<Error>& error, int status) {
  if (error) return singleLine(error->localizedDescription());
  if (status == kNotHandedOver) return "not all of the mail could be handed over";
  return status == 0 ? "" : "the mail program ended with status " + std::to_string(status);
}

std::string joined(const std::vector<std::string>& addresses) {
  std::string list;
  for (const std::string& address : addresses) {
    list.append(list.empty() ? "" : ", ").append(address);
  }
  return list;
}

}  // namespace

ADAlertMailer& ADAlertMailer::sharedInstance() {
  return Shared<ADAlertMailer>::object("ADAlertMailer::sharedInstance");
}

std::string ADAlertMailer::defaultLocalizationForEmailAddress(std::string_view address) {
  return Shared<DefaultLanguages>::object("ADAlertMailer::defaultLocalizationForEmailAddress")
      .defaultLocalizationForEmailAddress(address);
}

ADAlertMailer::ADAlertMailer(AlertBundleRegistry& bundles, std::string mailProgram, Log& log,
                             const Clock& clock, DeliveryJournal& journal,
                             std::chrono::milliseconds timeLimit)
    : bundles_(bundles),
      mailProgram_(std::move(mailProgram)),
      log_(log),
      repeatedLines_(log, clock),
      dailyLog_(log, clock, LimitedLog::kDay),
      journal_(journal),
      timeLimit_(timeLimit) {}

std::optional<Error> ADAlertMailer::mailAlert(const VLAlert& alert, ADAlertStore& store,
                                              BundleInUse bundle) {
  std::optional<Error> error;
  const auto recipients = store.getMailRecipientsByLocalization(&error);
  const auto bundleAlert = bundles_.alertSubclass(alert, &error, &bundle);
  if (error || recipients.empty()) {
    return error;
  }
  int firstStatus = 0;
  for (const auto& [localization, addresses] : recipients) {
    const DeliveryUnderWay delivery(journal_, "mail");
    const int status = mailInLanguage(*bundleAlert, localization, addresses, &error);
    journal_.add(alert, {.channel = "mail",
                         .recipients = joined(addresses),
                         .locale = localization,
                         .isDelivered = !error && status == 0,
                         .status = error ? error->code : status,
                         .reason = reasonOf(error, status),
                         .duration = delivery.elapsed()});
    if (error) {
      return error;
    }
    firstStatus = firstStatus == 0 ? status : firstStatus;
  }
  return firstStatus == 0 ? std::nullopt
                          : std::optional(Error{std::string(kMailerErrorDomain), firstStatus, {}});
}

/// The status, or an error of the formatter, with which nothing is sent.
int ADAlertMailer::mailInLanguage(const VLAlertSubclass& alert, const std::string& localization,
                                  const std::vector<std::string>& addresses, ErrorSlot error) {
  if (!localization.empty() && !namesLanguage(localization)) {
    dailyLog_.warning("Mail for " + singleLine(joined(addresses)) + ": there is no language \"" +
                      singleLine(localization) + "\"; its text is in another one");
  }
  const auto subject = alert.subject(localization);
  std::optional<std::string> sender;
  std::optional<std::string> message;
  if (const auto formatter = getEmailFormatter()) {
    sender = formatter->fromAddress(localization);
    message = formatter->formatMessage(alert, localization, error);
  }
  return error->has_value() ? kNotHandedOver : sendMail(addresses, subject, message, sender);
}

std::unique_ptr<EmailFormatter> ADAlertMailer::getEmailFormatter() {
  auto formatter = bundles_.makeEmailFormatter(kFormatterClass);
  if (formatter == nullptr && bundles_.VLLoadAlertBundle(kFormatterBundle)) {
    formatter = bundles_.makeEmailFormatter(kFormatterClass);
  }
  if (formatter == nullptr) {
    repeatedLines_.warning(
        "Mails are sent without a text and a sender, which are made by the alert "
        "bundle Common: put Common.bundle into " +
        rootedPath(VLAlertsDirectory));
  }
  return formatter;
}

int ADAlertMailer::sendMail(const std::vector<std::string>& addresses,
                            const std::optional<std::string>& subject,
                            const std::optional<std::string>& message,
                            const std::optional<std::string>& fromAddress) {
  if (addresses.empty()) {
    return 1;
  }
  const auto accepted = acceptedAddresses(addresses);
  if (accepted.empty()) {
    return kNotHandedOver;
  }
  Task task(mailProgram_, {"-t"}, timeLimit_);
  const auto error = handOver(task, accepted, subject, message, fromAddress);
  task.waitUntilExit();
  logFailure(task, error);
  const int status = task.terminationStatus();
  const bool isWhole = !error && accepted.size() == addresses.size();
  return status == 0 && !isWhole ? kNotHandedOver : status;
}

std::vector<std::string> ADAlertMailer::acceptedAddresses(
    const std::vector<std::string>& addresses) {
  std::vector<std::string> accepted;
  for (const std::string& address : addresses) {
    if (const auto objection = objectionToAddress(address)) {
      repeatedLines_.warning(std::string(kErrorPrefix) + "\"" + singleLine(address) + "\" " +
                             *objection + " and is left out");
    } else {
      accepted.push_back(address);
    }
  }
  return accepted;
}

void ADAlertMailer::logFailure(const Task& task, const std::optional<Error>& error) {
  const int status = task.terminationStatus();
  const std::string text = said(task);
  std::string what;
  if (task.hasTimedOut()) {
    what = mailProgram_ + " took too long and was ended";
  } else if (error) {
    what = error->localizedDescription();
  } else if (status != 0 && !text.empty()) {
    what = mailProgram_ + " ended with status " + std::to_string(status);
  }
  // A message that could not be handed over is told each time.
  Log& log = error && !task.hasTimedOut() ? log_ : repeatedLines_;
  if (!what.empty()) {
    log.warning(std::string(kErrorPrefix) + what + text);
  }
}

}  // namespace velto
