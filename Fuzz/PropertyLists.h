// Compares property lists with their copies in files.
#pragma once
#include <cmath>
#include <utility>
#include <variant>

#include "Platform/PropertyList.h"

/// The value as it reads when it was saved as XML, without fractions of seconds; NaN, which is
/// unequal to itself, as 0.
inline platform::PropertyList afterSaving(platform::PropertyList value) {
  using platform::PropertyList;
  if (auto* date = std::get_if<platform::PropertyListDate>(&value.value())) {
    date->secondsSince2001 = std::floor(date->secondsSince2001);
  } else if (auto* number = std::get_if<double>(&value.value())) {
    *number = std::isnan(*number) ? 0 : *number;
  } else if (auto* array = std::get_if<PropertyList::Array>(&value.value())) {
    for (PropertyList& element : *array) {
      element = afterSaving(std::move(element));
    }
  } else if (auto* dictionary = std::get_if<PropertyList::Dictionary>(&value.value())) {
    for (auto& [key, element] : *dictionary) {
      element = afterSaving(std::move(element));
    }
  }
  return value;
}
