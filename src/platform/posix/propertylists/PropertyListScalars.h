// The spelling of numbers, dates and data in property lists.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/PropertyValue.h"

namespace qrt {

/// Blanks of XML, which surround values and break lines of data.
inline constexpr char propertyListBlanks[] = " \t\r\n";

/// Each reader accepts blanks around the value and returns no value for any other text.

/// Decimal or, after "0x", hexadecimal, with a sign or without. Signed where 64 bits allow it, else
/// unsigned.
std::optional<Number> integerFromText(std::string_view text);

/// Decimal with or without exponent, "nan", "inf", "infinity"; case does not matter.
std::optional<double> realFromText(std::string_view text);
/// The shortest text that reads back as the same number.
std::string textFromReal(double value);

/// "2001-02-03T04:05:06Z", whole seconds of the years 0 to 9999.
std::optional<Date> dateFromIsoText(std::string_view text);
/// Drops fractions of a second. No value outside of the years 0 to 9999.
std::optional<std::string> isoTextFromDate(Date date);
/// "2001-02-03 04:05:06 +0000".
std::optional<Date> dateFromZonedText(std::string_view text);

/// Pairs of digits, blanks between them.
std::optional<Data> dataFromHexText(std::string_view text);

}  // namespace qrt
