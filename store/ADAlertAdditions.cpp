// SPDX-License-Identifier: Apache-2.0
#include "store/ADAlertAdditions.h"

#include <string_view>
#include <utility>

#include "alerts/VLAlertJSON.h"
#include "platform/propertylist/PropertyListBinaryJSON.h"
#include "platform/propertylist/PropertyListJSON.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

std::optional<PropertyList::Dictionary> decodedAttributes(const Data* data) {
  if (data == nullptr) {
    return std::nullopt;
  }
  auto value = PropertyListSerialization::propertyList(*data, nullptr);
  if (!value || value->dictionary() == nullptr) {
    return std::nullopt;
  }
  return std::move(*value->dictionary());
}

/// As the last member. Nearly all are as the writer makes them, and need not be values in between.
void addAttributes(JSONObjectText& alert, std::string& text, const Data& data) {
  const std::size_t size = text.size();
  alert.beginMember("attributes");
  if (appendPlainJSON(text, data.view())) return;
  if (const auto attributes = decodedAttributes(&data)) {
    appendJSON(text, *attributes);
  } else {
    text.resize(size);
  }
}

std::optional<std::string_view> textOf(const AttributeValue& value) {
  const auto* text = std::get_if<std::string>(&value);
  return text == nullptr ? std::nullopt : std::optional<std::string_view>(*text);
}

std::optional<Date> dateOf(const AttributeValue& value) {
  const auto* date = std::get_if<Date>(&value);
  return date == nullptr ? std::nullopt : std::optional(*date);
}

/// Takes the absent values out of what the value holds, at any depth.
void leaveOutAbsent(PropertyList& value) {
  const auto isAbsent = [](const PropertyList& one) { return one.isAbsent(); };
  if (auto* dictionary = value.dictionary()) {
    std::erase_if(*dictionary, [&](const auto& entry) { return isAbsent(entry.second); });
    for (auto& [key, held] : *dictionary) {
      leaveOutAbsent(held);
    }
  } else if (auto* array = value.array()) {
    std::erase_if(*array, isAbsent);
    for (PropertyList& held : *array) {
      leaveOutAbsent(held);
    }
  }
}

}  // namespace

std::optional<Data> encodedAttributes(const std::optional<PropertyList::Dictionary>& attributes) {
  if (!attributes) {
    return std::nullopt;
  }
  if (auto data = PropertyListSerialization::binaryData(*attributes, nullptr)) {
    return data;
  }
  // A property list has no form for an absent value.
  PropertyList present(*attributes);
  leaveOutAbsent(present);
  return PropertyListSerialization::binaryData(present, nullptr);
}

VLAlert initWithADAlert(const ADAlert& record) {
  VLAlert alert;
  alert.bundle = record.bundle();
  alert.type = record.type();
  alert.identifier = record.identifier();
  alert.creationDate = record.creationDate();
  alert.sentDate = record.sentDate();
  alert.readDate = record.readDate();
  alert.resolvedDate = record.resolvedDate();
  alert.attributes = decodedAttributes(record.attributes());
  return alert;
}

void appendJSON(std::string& text, const ADAlert& record) {
  JSONObjectText alert(text);
  addMembers(alert, {.identifier = record.identifier(),
                     .type = record.type(),
                     .bundle = record.bundle(),
                     .creationDate = record.creationDate(),
                     .sentDate = record.sentDate(),
                     .readDate = record.readDate(),
                     .resolvedDate = record.resolvedDate()});
  if (record.attributes() != nullptr) addAttributes(alert, text, *record.attributes());
  alert.end();
}

void appendAlertJSON(std::string& text, const std::vector<AttributeValue>& values) {
  JSONObjectText alert(text);
  addMembers(alert, {.identifier = textOf(values[positionOf<ADAlert>("identifier")]),
                     .type = textOf(values[positionOf<ADAlert>("type")]),
                     .bundle = textOf(values[positionOf<ADAlert>("bundle")]),
                     .creationDate = dateOf(values[positionOf<ADAlert>("creationDate")]),
                     .sentDate = dateOf(values[positionOf<ADAlert>("sentDate")]),
                     .readDate = dateOf(values[positionOf<ADAlert>("readDate")]),
                     .resolvedDate = dateOf(values[positionOf<ADAlert>("resolvedDate")])});
  const auto* attributes = std::get_if<Data>(&values[positionOf<ADAlert>("attributes")]);
  if (attributes != nullptr) addAttributes(alert, text, *attributes);
  alert.end();
}

ADAlert insertADAlertObjectInManagedObjectContext(const VLAlert& alert,
                                                  ManagedObjectContext& context) {
  auto record = context.insertNewObject<ADAlert>(ADAlert::kEntityName);
  record.setBundle(alert.bundle);
  record.setType(alert.type);
  record.setIdentifier(alert.identifier);
  record.setCreationDate(alert.creationDate);
  record.setSentDate(alert.sentDate);
  record.setReadDate(alert.readDate);
  record.setResolvedDate(alert.resolvedDate);
  record.setAttributes(encodedAttributes(alert.attributes));
  return record;
}

}  // namespace velto
