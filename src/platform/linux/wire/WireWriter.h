// Writes values into D-Bus messages.
#pragma once

#include <string_view>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "platform/linux/SdBus.h"
#include "protocol/FeedbackMessage.h"

namespace qrt::wire {

/// Each appends one argument and returns what libsystemd does: a negative error number on failure.
int appendString(sd_bus_message* message, std::string_view bytes);
int appendData(sd_bus_message* message, const Data& data);
int appendArray(sd_bus_message* message, const Array& array);
int appendDictionary(sd_bus_message* message, const Dictionary& dictionary);
/// A message of feedback, as a dictionary.
int appendFeedback(sd_bus_message* message, const FeedbackMessage& feedback);
/// The three arguments of a reply with an outcome.
int appendOutcome(sd_bus_message* message, const Outcome& outcome);

}  // namespace qrt::wire
