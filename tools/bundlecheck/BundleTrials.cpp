// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/BundleTrials.h"

#include <memory>

#include "bundles/Common/Code/HostName.h"
#include "bundles/Common/Code/MailText.h"
#include "tools/bundlecheck/BundleOnTrial.h"
#include "tools/bundlecheck/TrialAlert.h"

namespace velto {
namespace {

/// A bundle, and an alert of it.
struct Trial {
  std::unique_ptr<BundleOnTrial> bundle;
  VLAlert alert;
};

std::optional<Trial> open(const TrialRequest& request, Log& log, ErrorSlot error) {
  auto bundle = BundleOnTrial::open(request.path, log, error);
  if (bundle == nullptr) return std::nullopt;
  auto alert = trialAlert(bundle->key(), request.type, request.attributes, error);
  if (!alert) return std::nullopt;
  return Trial{std::move(bundle), *std::move(alert)};
}

/// The error with the bundle's own path in place of the copy's.
void report(const Trial& trial, const std::optional<Error>& cause, ErrorSlot error) {
  if (cause) {
    setIfEmpty(error, makeError(cause->domain, cause->code,
                                trial.bundle->shown(cause->localizedDescription())));
  }
}

std::string mailOf(const VLAlertSubclass& alert, const std::string& locale) {
  const VLAlert& plain = alert.alert();
  const auto bundle = alert.bundleName(locale);
  const auto type = alert.typeName(locale);
  return "From: " + mailSender(mailHostName(), locale) +
         "\nSubject: " + alert.subject(locale).value_or("") + "\n\n" +
         mailBody({alert.message(locale).value_or(""), bundle ? bundle : plain.bundle,
                   type ? type : plain.type, plain.sentDate},
                  locale);
}

}  // namespace

std::optional<RenderedAlert> renderAlert(const TrialRequest& request, Log& log, ErrorSlot error) {
  const auto trial = open(request, log, error);
  if (!trial) return std::nullopt;
  std::optional<Error> cause;
  const auto alert = trial->bundle->registry().alertSubclass(trial->alert, &cause);
  report(*trial, cause, error);
  if (alert == nullptr) return std::nullopt;
  return RenderedAlert{alert->subject(request.locale).value_or(""),
                       alert->message(request.locale).value_or(""), mailOf(*alert, request.locale)};
}

bool tryAction(const TrialRequest& request, const std::string& action, ActionCall call, Log& log,
               ErrorSlot error) {
  const auto trial = open(request, log, error);
  if (!trial) return false;
  std::optional<Error> cause;
  const auto made = trial->bundle->registry().alertAction(action, trial->alert, &cause);
  bool isDone = false;
  if (made != nullptr) {
    isDone = call == ActionCall::kHasBeenResolved
                 ? made->hasBeenResolved()
                 : made->runWithLocalization(request.locale, &cause);
  }
  report(*trial, cause, error);
  return isDone;
}

}  // namespace velto
