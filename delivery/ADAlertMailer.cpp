// SPDX-License-Identifier: Apache-2.0
#include "delivery/ADAlertMailer.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "delivery/HeaderEncoding.h"
#include "platform/foundation/Shared.h"
#include "platform/process/Task.h"
#include "store/DefaultLanguages.h"

namespace velto {
namespace {

constexpr std::string_view kFormatterClass = "EmailFormatter";
constexpr std::string_view kFormatterBundle = "Common";

/// A header line, or an exception for text that cannot stand in one. A control character would end
/// the line and begin another.
std::string headerLine(std::string_view name, const std::string& value) {
  const bool fits = std::all_of(value.begin(), value.end(), [](char character) {
    return (character >= ' ' && character <= '~') || character == '\t';
  });
  if (!fits) {
    throw std::invalid_argument("the " + std::string(name) + " header cannot hold \"" +
                                encodedHeaderText(value) + "\"");
  }
  return std::string(name) + ": " + value + "\n";
}

/// An exception for an address that would mail to others as well, or swallow the next one.
std::string joinedAddresses(const std::vector<std::string>& addresses) {
  std::string joined;
  for (const std::string& address : addresses) {
    const std::string encoded = encodedAddress(address);
    if (!namesOneMailbox(encoded)) {
      throw std::invalid_argument("\"" + encodedHeaderText(address) + "\" is not one address");
    }
    joined.append(joined.empty() ? "" : ",").append(encoded);
  }
  return joined;
}

std::string header(const std::vector<std::string>& addresses,
                   const std::optional<std::string>& subject,
                   const std::optional<std::string>& fromAddress) {
  std::string text = headerLine("To", joinedAddresses(addresses));
  if (subject && !subject->empty()) {
    text += headerLine("Subject", encodedHeaderText(*subject));
  }
  if (fromAddress && !fromAddress->empty()) {
    text += headerLine("From", encodedAddress(*fromAddress));
  }
  return text;
}

}  // namespace

ADAlertMailer& ADAlertMailer::sharedInstance() {
  return Shared<ADAlertMailer>::object("ADAlertMailer::sharedInstance");
}

std::string ADAlertMailer::defaultLocalizationForEmailAddress(std::string_view address) {
  return Shared<DefaultLanguages>::object("ADAlertMailer::defaultLocalizationForEmailAddress")
      .defaultLocalizationForEmailAddress(address);
}

ADAlertMailer::ADAlertMailer(AlertBundleRegistry& bundles, std::string mailProgram, Log& log)
    : bundles_(bundles), mailProgram_(std::move(mailProgram)), log_(log) {}

std::optional<Error> ADAlertMailer::mailAlert(const VLAlert& alert, ADAlertStore& store) {
  std::optional<Error> error;
  const auto recipients = store.getMailRecipientsByLocalization(&error);
  const auto bundleAlert = bundles_.alertSubclass(alert, &error);
  if (error || recipients.empty()) {
    return error;
  }
  int firstStatus = 0;
  for (const auto& [localization, addresses] : recipients) {
    const auto subject = bundleAlert->subject(localization);
    std::optional<std::string> sender;
    std::optional<std::string> message;
    if (const auto formatter = getEmailFormatter()) {
      sender = formatter->fromAddress(localization);
      message = formatter->formatMessage(*bundleAlert, localization, &error);
    }
    if (error) {
      return error;
    }
    const int status = sendMail(addresses, subject, message, sender);
    firstStatus = firstStatus == 0 ? status : firstStatus;
  }
  return firstStatus == 0 ? std::nullopt
                          : std::optional(Error{std::string(kMailerErrorDomain), firstStatus, {}});
}

std::unique_ptr<EmailFormatter> ADAlertMailer::getEmailFormatter() {
  auto formatter = bundles_.makeEmailFormatter(kFormatterClass);
  if (formatter == nullptr && bundles_.VLLoadAlertBundle(kFormatterBundle)) {
    formatter = bundles_.makeEmailFormatter(kFormatterClass);
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
  Task task(mailProgram_, {"-t"});
  try {
    task.launch();
    // Nothing is written unless all of the header can be: half a message might be sent.
    task.write(header(addresses, subject, fromAddress));
    task.write(message.value_or(""));
    task.waitUntilExit();
    return task.terminationStatus();
  } catch (const std::exception& exception) {
    log_.warning("Error sending alert email: " + std::string(exception.what()));
    task.waitUntilExit();
    return task.terminationStatus() != 0 ? task.terminationStatus() : -1;
  }
}

}  // namespace velto
