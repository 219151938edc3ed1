// SPDX-License-Identifier: Apache-2.0
// The bundle records of ADAlertStore.

#include <memory>

#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

/// Reports it, and is what the operation returns then.
bool missing(ErrorSlot error, std::string_view operation,
             const std::optional<std::string>& bundle) {
  setIfEmpty(error,
             storeError(std::string(operation) + ": Bundle '" + keyText(bundle) + "' not found."));
  return false;
}

std::vector<std::string> keys(const std::vector<ADAlertBundle>& records) {
  std::vector<std::string> names;
  names.reserve(records.size());
  for (const ADAlertBundle& record : records) {
    if (auto key = record.bundle()) {
      names.push_back(std::move(*key));
    }
  }
  return names;
}

/// True when a switch of the record has another value now.
bool setSwitches(ADAlertBundle record, const AlertBundleSettings& settings) {
  const bool mailEnabled = settings.mailEnabled.value_or(false);
  const bool pushEnabled = settings.pushEnabled.value_or(false);
  bool changed = false;
  if (record.mailEnabled() != mailEnabled) {
    record.setMailEnabled(mailEnabled);
    changed = true;
  }
  if (record.pushEnabled() != pushEnabled) {
    record.setPushEnabled(pushEnabled);
    changed = true;
  }
  return changed;
}

}  // namespace

std::optional<AlertBundleSwitches> ADAlertStore::getAlertBundle(
    const std::optional<std::string>& bundle, ErrorSlot error) {
  const auto record = getADAlertBundle(bundle, error);
  if (!record) {
    missing(error, "Get Alert Bundle", bundle);
    return std::nullopt;
  }
  return AlertBundleSwitches{bundle, record->pushEnabled(), record->mailEnabled()};
}

void ADAlertStore::insertAlertBundle(const std::string& bundle, const std::string& name) {
  auto record = managedObjectContext().insertNewObject<ADAlertBundle>(ADAlertBundle::kEntityName);
  record.setPushEnabled(true);
  record.setMailEnabled(true);
  record.setEnabled(true);
  record.setName(name);
  record.setBundle(bundle);
}

bool ADAlertStore::updateAlertBundle(const std::string& bundle, const std::string& name,
                                     ErrorSlot error) {
  auto record = getADAlertBundle(bundle, error);
  if (!record || record->name() == name) {
    return missing(error, "Update Alert Bundle", bundle);
  }
  record->setName(name);
  return true;
}

bool ADAlertStore::deleteAlertBundle(const std::optional<std::string>& bundle, ErrorSlot error) {
  const auto record = getADAlertBundle(bundle, error);
  if (!record) {
    return missing(error, "Delete Alert Bundle", bundle);
  }
  managedObjectContext().deleteObject(*record);
  return true;
}

bool ADAlertStore::enableAlertBundle(const std::optional<std::string>& bundle, ErrorSlot error) {
  auto record = getADAlertBundle(bundle, error);
  if (!record) {
    return missing(error, "Enable Alert Bundle", bundle);
  }
  record->setEnabled(true);
  return true;
}

bool ADAlertStore::disableAlertBundle(const std::optional<std::string>& bundle, ErrorSlot error) {
  auto record = getADAlertBundle(bundle, error);
  if (!record) {
    return missing(error, "Disable Alert Bundle", bundle);
  }
  record->setEnabled(false);
  return true;
}

std::vector<std::string> ADAlertStore::getEnabledAlertBundleNames(ErrorSlot error) {
  const auto coordinator = container_.persistentStoreCoordinator();
  // Asked before the records are read: they may then be newer than the version, but not older.
  const auto version =
      coordinator == nullptr || hasChanges() ? std::nullopt : coordinator->dataVersion();
  if (const auto known = version ? container_.enabledBundles(*version) : nullptr) {
    return *known;
  }
  std::optional<Error> failure;
  auto names = keys(enabledObjects<ADAlertBundle>(managedObjectContext(), &failure));
  if (failure) {
    replaceError(error, *std::move(failure));
  } else if (version) {
    container_.setEnabledBundles(*version, std::make_shared<const std::vector<std::string>>(names));
  }
  return names;
}

std::vector<std::string> ADAlertStore::getAllAlertBundleNames(ErrorSlot error) {
  return keys(allObjects<ADAlertBundle>(managedObjectContext(), error));
}

std::map<std::string, AlertBundleSettings> ADAlertStore::getAlertBundleSettings(ErrorSlot error) {
  std::map<std::string, AlertBundleSettings> settings;
  for (const auto& record : enabledObjects<ADAlertBundle>(managedObjectContext(), error)) {
    if (const auto key = record.bundle()) {
      settings[*key] = {record.name(), record.pushEnabled(), record.mailEnabled()};
    }
  }
  return settings;
}

bool ADAlertStore::setAlertBundleSettings(
    const std::map<std::string, AlertBundleSettings>& settings, ErrorSlot error) {
  const FetchRequest request{std::string(ADAlertBundle::kEntityName)};
  const auto records = managedObjectContext().executeFetchRequest<ADAlertBundle>(request, error);
  if (!records) {
    setIfEmpty(error, storeError("Set Alert Bundle Settings: No Bundles Found."));
    return false;
  }
  bool changed = false;
  for (const ADAlertBundle& record : *records) {
    const auto key = record.bundle();
    const auto entry = key ? settings.find(*key) : settings.end();
    if (entry != settings.end()) {
      changed = setSwitches(record, entry->second) || changed;
    }
  }
  return changed;
}

}  // namespace velto
