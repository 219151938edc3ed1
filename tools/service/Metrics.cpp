// SPDX-License-Identifier: Apache-2.0
// The status in the text of OpenMetrics, for a collector that reads files.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/NewFile.h"
#include "tools/service/StatusCall.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

/// A label's value, in quotes.
std::string labelValue(std::string_view text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '\n') {
      result += "\\n";
    } else {
      if (character == '"' || character == '\\') result += '\\';
      result += character;
    }
  }
  return result + '"';
}

class Metrics {
 public:
  /// A family of metrics; the samples follow.
  void begin(const char* name, const char* type, const char* help) {
    name_ = std::string("velto_alerts_") + name;
    text_ += fmt::format("# TYPE {} {}\n# HELP {} {}\n", name_, type, name_, help);
    isCounter_ = std::string_view(type) == "counter";
  }
  void sample(double value, const std::string& labels = {}) {
    text_ += fmt::format("{}{}{} {}\n", name_, isCounter_ ? "_total" : "",
                         labels.empty() ? "" : "{" + labels + "}", value);
  }
  /// Metrics that say something by their labels alone.
  void infoSample(const std::string& labels) {
    text_ += fmt::format("{}_info{{{}}} 1\n", name_, labels);
  }
  void one(const char* name, const char* type, const char* help, double value) {
    begin(name, type, help);
    sample(value);
  }
  std::string text() const { return text_ + "# EOF\n"; }

 private:
  std::string text_;
  std::string name_;
  bool isCounter_ = false;
};

double number(std::int64_t value) {
  return static_cast<double>(value);
}

std::string channelLabel(const alerts::Channel& channel) {
  return channel.name == alerts::ChannelName::kMail ? "channel=\"mail\"" : "channel=\"push\"";
}

void addChannels(Metrics& metrics, const std::vector<alerts::Channel>& channels) {
  metrics.begin("deliveries", "counter", "Deliveries since the start, by channel and result.");
  for (const alerts::Channel& channel : channels) {
    metrics.sample(number(channel.delivered), channelLabel(channel) + ",result=\"delivered\"");
    metrics.sample(number(channel.failed), channelLabel(channel) + ",result=\"failed\"");
  }
  metrics.begin("deliveries_pending", "gauge", "Deliveries under way.");
  for (const alerts::Channel& channel : channels) {
    metrics.sample(number(channel.pending), channelLabel(channel));
  }
  metrics.begin("last_failure_timestamp_seconds", "gauge", "When a delivery failed last.");
  for (const alerts::Channel& channel : channels) {
    if (channel.lastFailure) {
      metrics.sample(channel.lastFailure->unixSeconds(), channelLabel(channel));
    }
  }
}

void addStore(Metrics& metrics, const alerts::StoreStatus& store) {
  metrics.one("store_usable", "gauge", "Whether the store is open and takes saves.",
              store.usable ? 1 : 0);
  metrics.one("store_size_bytes", "gauge", "Size of the database.", number(store.size));
  metrics.one("store_log_size_bytes", "gauge", "Size of its log.", number(store.logSize));
  metrics.one("store_free_size_bytes", "gauge", "Size of unused pages.", number(store.freeSize));
  metrics.one("saves", "counter", "Saves since the start.", number(store.saves));
  metrics.one("failed_saves", "counter", "Failed saves since the start.",
              number(store.failedSaves));
}

std::string textOf(const alerts::Status& status) {
  Metrics metrics;
  metrics.one("up", "gauge", "Whether the daemon answers.", 1);
  metrics.begin("build", "info", "The daemon's version.");
  metrics.infoSample("version=" + labelValue(status.version));
  metrics.one("start_time_seconds", "gauge", "When the daemon was started.",
              status.startDate.unixSeconds());
  metrics.one("stored", "gauge", "Alerts in the store.", number(status.counts.alerts));
  metrics.one("unread", "gauge", "Alerts that nobody has read.", number(status.counts.unread));
  metrics.one("unresolved", "gauge", "Alerts whose cause remains.",
              number(status.counts.unresolved));
  addStore(metrics, status.store);
  addChannels(metrics, status.channels);
  metrics.one("connections", "gauge", "Connections.", number(status.connections));
  metrics.one("calls_active", "gauge", "Calls under way.", number(status.calls));
  metrics.one("calls", "counter", "Calls since the start.", number(status.served));
  return metrics.text();
}

std::string textWithoutDaemon() {
  Metrics metrics;
  metrics.one("up", "gauge", "Whether the daemon answers.", 0);
  return metrics.text();
}

void put(Session& session, const std::string& file, const std::string& text) {
  if (file.empty() || file == "-") {
    session.write(text);
    return;
  }
  // A collector must never see half of it.
  NewFile target(file, 0644, NewFile::Existing::kReplaced);
  target.write(text);
  target.finish();
}

ExitStatus tellMetrics(Session& session, const std::string& file) {
  if (session.isJSON())
    throw usageFailure(tr("metrics are no JSON"), tr("see alertsctl status -j"));
  const auto outcome = session.client().getStatus({.timeLimit = kStatusTimeLimit});
  const bool isDown = outcome.error && outcome.error->kind != alerts::ErrorKind::kNotPermitted &&
                      outcome.error->kind != alerts::ErrorKind::kSocketNotPermitted;
  if (isDown) put(session, file, textWithoutDaemon());
  put(session, file, textOf(required(outcome)));
  return kExitDone;
}

}  // namespace

void addMetricsVerb(VerbSet& verbs) {
  const auto file = std::make_shared<std::string>();
  verbs
      .add({.name = "metrics",
            .description = tr("Tell the status as OpenMetrics text, for a collector"),
            .example = "alertsctl metrics /var/lib/prometheus/node-exporter/velto.prom"},
           [file](Session& session) { return tellMetrics(session, *file); })
      .argument("FILE", *file, tr("Written as a whole or not at all; without it, standard output"));
}

}  // namespace velto
