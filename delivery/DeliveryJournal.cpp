// SPDX-License-Identifier: Apache-2.0
#include "delivery/DeliveryJournal.h"

#include <cstdio>
#include <optional>
#include <sys/uio.h>
#include <syslog.h>

// The place in the code says nothing here.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include "platform/foundation/Paths.h"
#include "platform/foundation/SingleLine.h"

namespace velto {
namespace {

/// By this the entries are found, and it never changes.
constexpr std::string_view kMessageID = "5b948e18490f447ab8f28cf86e632cd0";

std::string message(const VLAlert& alert, const DeliveryOutcome& outcome) {
  std::string text = "Alert " + alert.identifier.value_or("") + " of " +
                     alert.bundle.value_or("no bundle") + ", " + std::string(outcome.channel) +
                     " to " + outcome.recipients + ": ";
  text +=
      outcome.isDelivered ? "delivered" : "failed with status " + std::to_string(outcome.status);
  return singleLine(outcome.reason.empty() ? text : text + " (" + outcome.reason + ")");
}

class SystemDeliveryJournal : public DeliveryJournal {
 public:
  void add(const VLAlert& alert, const DeliveryOutcome& outcome) override {
    const auto fields = journalFields(alert, outcome);
    isPrivateSystem() ? write(fields) : send(fields);
  }

 private:
  static void write(const std::vector<std::string>& fields) {
    std::string line;
    for (const std::string& field : fields) {
      line.append(line.empty() ? "" : " ").append(singleLine(field));
    }
    line += '\n';
    // One write a line, so that lines of several threads do not mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
  }

  /// Nobody can be told of an entry that the journal does not take.
  static void send(const std::vector<std::string>& fields) {
    std::vector<iovec> vectors;
    vectors.reserve(fields.size());
    for (const std::string& field : fields) {
      vectors.push_back({const_cast<char*>(field.data()), field.size()});
    }
    sd_journal_sendv(vectors.data(), static_cast<int>(vectors.size()));
  }
};

}  // namespace

DeliveryJournal& DeliveryJournal::system() {
  static SystemDeliveryJournal journal;
  return journal;
}

std::vector<std::string> journalFields(const VLAlert& alert, const DeliveryOutcome& outcome) {
  const auto field = [](std::string_view name, std::string_view value) {
    return std::string(name).append("=").append(value);
  };
  return {
      field("MESSAGE", message(alert, outcome)),
      field("MESSAGE_ID", kMessageID),
      field("PRIORITY", std::to_string(outcome.isDelivered ? LOG_INFO : LOG_WARNING)),
      field("VELTO_ALERT_ID", alert.identifier.value_or("")),
      field("VELTO_BUNDLE", alert.bundle.value_or("")),
      field("VELTO_TYPE", alert.type.value_or("")),
      field("VELTO_CHANNEL", outcome.channel),
      field("VELTO_RECIPIENTS", outcome.recipients),
      field("VELTO_LOCALE", outcome.locale),
      field("VELTO_RESULT", outcome.isDelivered ? "delivered" : "failed"),
      field("VELTO_STATUS", std::to_string(outcome.status)),
      field("VELTO_DURATION_USEC", std::to_string(outcome.duration.count())),
  };
}

}  // namespace velto
