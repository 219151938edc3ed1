// SPDX-License-Identifier: Apache-2.0
// The bundle's two exported symbols, and its class EmailFormatter behind the daemon's C interface.

#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include <velto/alert_bundle.h>

#include "bundles/Common/Code/HostName.h"
#include "bundles/Common/Code/MailText.h"

namespace velto {
namespace {

constexpr int kNoMessageCode = 1;

/// Set once, before any other function of the bundle is called.
const velto_host* host = nullptr;

std::optional<std::string> optionalText(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

using TextFunction = int (*)(const velto_alert*, const char*, velto_text*);

/// What a function of the daemon appends in the language, or nothing when there is nothing.
std::optional<std::string> textOf(TextFunction function, const velto_alert* alert,
                                  const char* localization) {
  const std::unique_ptr<velto_text, decltype(host->text_destroy)> text(host->text_create(),
                                                                       host->text_destroy);
  if (text == nullptr || function(alert, localization, text.get()) != 0) {
    return std::nullopt;
  }
  std::size_t length = 0;
  const char* bytes = host->text_bytes(text.get(), &length);
  return std::string(bytes, length);
}

/// When the alert was sent, or made if it has not been sent.
std::optional<Date> timeOf(const velto_alert* alert) {
  double seconds = 0;
  for (const auto which : {VELTO_ALERT_SENT_DATE, VELTO_ALERT_CREATION_DATE}) {
    if (host->alert_date(alert, which, &seconds) == 0) {
      return Date(seconds);
    }
  }
  return std::nullopt;
}

// The formatter has no state: its objects only have to be told from NULL.
char object;

void* create() noexcept {
  return &object;
}

void destroy(void*) noexcept {}

/// Runs what may find no memory, which fails the function then: no exception can pass the daemon's
/// interface.
template <typename Work>
int withinMemory(const Work& work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return -1;
  }
}

int fromAddress(void*, const char* localization, velto_text* sender) noexcept {
  return withinMemory([&] {
    const std::string text = mailSender(mailHostName(), localization);
    host->text_append(sender, text.data(), text.size());
    return 0;
  });
}

int format(const velto_alert* alert, const char* localization, velto_text* message,
           velto_error* error) {
  auto text = textOf(host->alert_message, alert, localization);
  if (!text) {
    host->error_set(error, kNoMessageCode, "The alert has no message.");
    return -1;
  }
  auto bundle = textOf(host->alert_bundle_name, alert, localization);
  auto type = textOf(host->alert_type_name, alert, localization);
  const std::string mail = mailText(
      {std::move(*text), bundle ? std::move(bundle) : optionalText(host->alert_bundle(alert)),
       type ? std::move(type) : optionalText(host->alert_type(alert)), timeOf(alert)},
      localization);
  host->text_append(message, mail.data(), mail.size());
  return 0;
}

int formatMessage(void*, const velto_alert* alert, const char* localization, velto_text* message,
                  velto_error* error) noexcept {
  return withinMemory([&] { return format(alert, localization, message, error); });
}

constexpr velto_email_formatter_class kEmailFormatter = {
    .create = create,
    .destroy = destroy,
    .from_address = fromAddress,
    .format_message = formatMessage,
};

}  // namespace
}  // namespace velto

const std::uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  if (!VELTO_HOST_HAS(daemon, alert_type_name)) return 1;
  velto::host = daemon;
  return daemon->register_email_formatter(registry, "EmailFormatter", &velto::kEmailFormatter);
}
