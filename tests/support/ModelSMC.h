// A System Management Controller made of a table.
#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include "base/PropertyValue.h"
#include "hardware/SMCCode.h"
#include "platform/SMCExchange.h"

namespace qrt::test {

struct ModelKey {
  SMCCode key;
  SMCCode type;
  Data bytes;
  bool isWriteOnly = false;
};

/// Replies like a controller with these keys, records the exchanges, and fails on request.
class ModelSMC : public SMCExchange {
 public:
  struct Fault {
    KernelReturn code = KernelReturn::noError;
    std::uint8_t result = 0;
  };
  /// Called before each exchange. `number` counts from 0.
  std::function<std::optional<Fault>(const SMCParameterRecord& input, std::size_t number)> fault;
  /// The value of the first is their number.
  std::vector<ModelKey> keys = {
      {smcCode("#KEY"), smcCode("ui32"), {0, 0, 0, 11}},
      {smcCode("$Num"), smcCode("ui8 "), {200}},
      {smcCode("BRSC"), smcCode("ui16"), {0xFF, 0xFE}},
      {smcCode("RBr "), smcCode("ch8*"), {'m', 0xC3, 0xA9, 0}},
      {smcCode("REV "), smcCode("{rev"), {2, 11, 0x0F, 99, 1, 4}},
      {smcCode("RSvn"), smcCode("ui32"), {0, 0, 0, 11}},
      {smcCode("Xbad"), smcCode("ui16"), {1}},
      {smcCode("ZWnw"), smcCode("zzzz"), {1}, true},
      {smcCode("ZWui"), smcCode("ui8 "), {1}, true},
      {smcCode("fp1f"), smcCode("fp1f"), {0xC0, 0}},
      {smcCode("sp78"), smcCode("sp78"), {0xC0, 0}},
  };
  std::vector<SMCParameterRecord> exchanges;

  KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) override {
    exchanges.push_back(input);
    const auto failing = fault ? fault(input, exchanges.size() - 1) : std::nullopt;
    output.result = failing ? failing->result : answer(input, output);
    return failing ? failing->code : KernelReturn::noError;
  }

 private:
  std::uint8_t answer(const SMCParameterRecord& input, SMCParameterRecord& output) const {
    if (input.command == smc_command::keyAtIndex) {
      output.key = keys.at(input.index).key;
      return smc_result::success;
    }
    const auto key = std::find_if(keys.begin(), keys.end(),
                                  [&](const ModelKey& each) { return each.key == input.key; });
    if (key == keys.end()) return smc_result::keyNotFound;
    output.dataType = key->type;
    output.dataSize = static_cast<std::uint32_t>(key->bytes.size());
    if (input.command != smc_command::readKey) return smc_result::success;
    if (key->isWriteOnly) return smc_result::keyNotReadable;
    std::copy_n(key->bytes.begin(), std::min(key->bytes.size(), output.bytes.size()),
                output.bytes.begin());
    return smc_result::success;
  }
};

}  // namespace qrt::test
