// The bundle records of ADAlertStore.

#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"

namespace velto {
namespace {

void reportMissing(ErrorSlot error, std::string_view operation,
                   const std::optional<std::string>& bundle) {
  setIfEmpty(error, notFoundError(std::string(operation) + ": Bundle '" +
                                  bundle.value_or("(null)") + "' not found."));
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

}  // namespace

std::optional<AlertBundleSwitches> ADAlertStore::getAlertBundle(
    const std::optional<std::string>& bundle, ErrorSlot error) {
  const auto record = getADAlertBundle(bundle, error);
  if (!record) {
    reportMissing(error, "Get Alert Bundle", bundle);
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
    reportMissing(error, "Update Alert Bundle", bundle);
    return false;
  }
  record->setName(name);
  return true;
}

bool ADAlertStore::deleteAlertBundle(const std::string& bundle, ErrorSlot error) {
  const auto record = getADAlertBundle(bundle, error);
  if (!record) {
    reportMissing(error, "Delete Alert Bundle", bundle);
    return false;
  }
  managedObjectContext().deleteObject(*record);
  return true;
}

std::vector<std::string> ADAlertStore::getEnabledAlertBundleNames(ErrorSlot error) {
  return keys(enabledObjects<ADAlertBundle>(managedObjectContext(), error));
}

std::vector<std::string> ADAlertStore::getAllAlertBundleNames(ErrorSlot error) {
  return keys(allObjects<ADAlertBundle>(managedObjectContext(), error));
}

}  // namespace velto
