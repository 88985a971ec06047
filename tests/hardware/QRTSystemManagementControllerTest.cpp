#include "hardware/QRTSystemManagementController.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "hardware/SMCValueDecoding.h"
#include "hardware/SharedSMCController.h"
#include "support/ModelSMC.h"
#include "support/PropertyListText.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using Controller = QRTSystemManagementController;
using test::ModelSMC;

class SMC : public testing::Test {
 protected:
  std::unique_ptr<Controller> made() {
    auto controller = Controller::init(model, log);
    EXPECT_TRUE(controller);
    model.exchanges.clear();
    return controller;
  }
  std::vector<int> commands() const {
    std::vector<int> asked;
    for (const auto& exchange : model.exchanges) asked.push_back(exchange.command);
    return asked;
  }

  ModelSMC model;
  test::RecordingLog log;
};

std::string nameOf(SMCCode key) { return Controller::stringFromSMCKey(key); }

TEST_F(SMC, DecodesEveryKeyOfEveryType) {
  const auto controller = made();
  ASSERT_GE(model.keys.size(), 60u);
  EXPECT_EQ(controller->availableKeys().size(), model.keys.size());
  for (const auto& key : model.keys) {
    const auto name = nameOf(key.key);
    SCOPED_TRACE(name);
    const auto value = controller->valueForPropertyWithKey(name);
    ASSERT_TRUE(value);
    EXPECT_EQ(*value, key.meaning);
    // Integers, fractions and booleans are told apart.
    EXPECT_EQ(test::shown(*value), test::shown(key.meaning));
    EXPECT_EQ(controller->typeCodeOfPropertyWithKey(name), nameOf(key.type));
    EXPECT_EQ(controller->isWriteOnlyPropertyWithKey(name), key.isWriteOnly);
  }
}

TEST_F(SMC, TypesOfFixedSizeTakeNoOther) {
  for (const auto& key : model.keys) {
    if (key.type == smcCode("ch8*") || key.type == smcCode("hex_")) continue;
    if (key.meaning == PropertyValue(smcUnknownTypeMarker)) continue;
    Data longer = key.bytes;
    longer.insert(longer.end(), 8, 'x');
    EXPECT_FALSE(decodedSMCValue(key.type, longer));
    EXPECT_FALSE(decodedSMCValue(key.type, {key.bytes.data(), key.bytes.size() - 1}));
  }
}

TEST_F(SMC, FailuresAtEveryStepOfListingLeaveNoController) {
  SharedSMCController shared(model, log);
  const auto steps = 2 + model.keys.size();
  for (std::size_t step = 0; step < steps; ++step) {
    for (const auto fault : {ModelSMC::Fault{KernelReturn::busy}, ModelSMC::Fault{{}, 0x99}}) {
      model.exchanges.clear();
      model.fault = [&](auto&, auto number) {
        return number == step ? std::optional(fault) : std::nullopt;
      };
      EXPECT_FALSE(shared.controller()) << step;
      EXPECT_EQ(model.exchanges.size(), step + 1);
      const auto expected = step < 2
                                ? "could not determine available keys on this platform\n"
                                : "could not get key at index " + std::to_string(step - 2) + "\n";
      EXPECT_EQ(log.lines().back(),
                (test::RecordingLog::Line{LogLevel::standard,
                                          "QRTSystemManagementController: " + expected}));
    }
  }
  model.fault = nullptr;
  model.exchanges.clear();
  auto* controller = shared.controller();
  EXPECT_TRUE(controller);
  EXPECT_EQ(shared.controller(), controller);
  EXPECT_EQ(model.exchanges.size(), steps);

  model.keys.front().type = smcCode("ui16");
  EXPECT_FALSE(Controller::init(model, log));
}

TEST_F(SMC, FailedReadsAreNoValueAndRefusedOnesAreWriteOnly) {
  const auto controller = made();
  struct Case {
    int command;
    ModelSMC::Fault fault;
    std::optional<PropertyValue> value;
    int loggedCode;
  };
  const Case cases[] = {
      {smc_command::keyInfo, {KernelReturn::error}, {}, -536870212},
      {smc_command::keyInfo, {{}, 0x84}, {}, -536870160},
      // Not even the type is known.
      {smc_command::keyInfo, {{}, 0x85}, smcUnknownTypeMarker, 0},
      {smc_command::readKey, {KernelReturn::noSpace}, {}, -536870181},
      {smc_command::readKey, {{}, 0x84}, {}, -536870160},
      {smc_command::readKey, {{}, 1}, "<write-only property>", 0},
      // The driver's own code for it comes with an answer, if an empty one.
      {smc_command::readKey, {KernelReturn::internalError}, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    model.fault = [&](auto& input, auto) {
      return input.command == c.command ? std::optional(c.fault) : std::nullopt;
    };
    const auto lines = log.lines().size();
    const auto value = controller->valueForPropertyWithKey("BRSC");
    EXPECT_EQ(value, c.value);
    EXPECT_EQ(controller->isWriteOnlyPropertyWithKey("BRSC"), c.value.has_value());
    if (c.loggedCode != 0) {
      ASSERT_GT(log.lines().size(), lines);
      EXPECT_EQ(log.lines()[lines].text,
                "QRTSystemManagementController: failed to get value for key 'BRSC' (error " +
                    std::to_string(c.loggedCode) + ")\n");
    }
  }
}

TEST_F(SMC, UnknownKeysHaveNothingAndAskNothing) {
  const auto controller = made();
  for (const auto* key : {"", "nope", "BRSCx", "REV"}) {
    EXPECT_FALSE(controller->valueForPropertyWithKey(key));
    EXPECT_FALSE(controller->typeCodeOfPropertyWithKey(key));
    EXPECT_FALSE(controller->isWriteOnlyPropertyWithKey(key));
    EXPECT_EQ(controller->precisionDeltaOfNumericPropertyWithKey(key), -1.0);
    EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey(key), -1);
    EXPECT_FALSE(controller->updateCacheForPropertyWithKey(key));
  }
  EXPECT_TRUE(model.exchanges.empty());
}

TEST_F(SMC, WritesOnlyWhatFitsTheKey) {
  struct Case {
    const char* key;
    std::size_t length;
    bool isWritten;
    std::vector<int> commands;
  };
  model.keys.push_back({smcCode("Long"), smcCode("hex_"), Data(40), ""});
  const auto controller = made();
  const Data bytes(600, 0x5A);
  for (const auto& c : {
           Case{"BRSC", 2, true, {9, 6}},
           Case{"BRSC", 2 + 256, true, {9, 6}},
           Case{"BRSC", 3, false, {9}},
           Case{"BRSC", 256, false, {9}},
           Case{"BRSC", 0, false, {}},
           Case{"BRSCx", 2, false, {}},
           Case{"BRS", 2, false, {}},
           Case{"nope", 2, false, {9}},
           // It need not be listed.
           Case{"Long", 40, true, {9, 6}},
       }) {
    SCOPED_TRACE(std::string(c.key) + " " + std::to_string(c.length));
    model.exchanges.clear();
    EXPECT_EQ(controller->writeRawBytes(bytes.data(), c.length, c.key), c.isWritten);
    EXPECT_EQ(commands(), c.commands);
    if (c.isWritten) {
      const auto& record = model.exchanges.back();
      const auto size = c.length % 256;
      EXPECT_EQ(record.dataSize, size);
      EXPECT_EQ(record.dataType, 0u);
      EXPECT_EQ(std::count(record.bytes.begin(), record.bytes.end(), 0x5A),
                std::min<long>(size, 32));
    }
  }
  EXPECT_FALSE(controller->writeRawBytes(nullptr, 2, "BRSC"));
}

TEST_F(SMC, FailedWritesAreTold) {
  const auto controller = made();
  const std::uint8_t bytes[2] = {};
  struct Case {
    int command;
    ModelSMC::Fault fault;
    std::size_t logged;
  };
  for (const auto& c :
       {Case{9, {KernelReturn::error}, 0}, Case{9, {{}, 0x84}, 0}, Case{9, {{}, 1}, 0},
        Case{6, {{}, 0x86}, 0}, Case{6, {KernelReturn::notPrivileged}, 1}}) {
    model.fault = [&](auto& input, auto) {
      return input.command == c.command ? std::optional(c.fault) : std::nullopt;
    };
    const auto lines = log.lines().size();
    EXPECT_FALSE(controller->writeRawBytes(bytes, 2, "BRSC"));
    EXPECT_EQ(log.lines().size(), lines + c.logged);
  }
  EXPECT_EQ(
      log.lines().back(),
      (test::RecordingLog::Line{LogLevel::error,
                                "SMC write failure: system 0x38 subsystem 0x0 error code 0x2c1."}));
}

TEST_F(SMC, ReadsAnewUnlessSomebodyFilledTheCache) {
  const auto controller = made();
  controller->valueForPropertyWithKey("BRSC");
  controller->valueForPropertyWithKey("BRSC");
  EXPECT_EQ(commands(), (std::vector<int>{9, 5, 9, 5}));
  EXPECT_TRUE(controller->propertyCache().empty());

  const auto entryOfAge = [](double age) {
    const auto now =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch());
    return Dictionary{{"Type", "sf7b"},
                      {"IsWriteOnly", true},
                      {"Value", "cached"},
                      {"LastAccess", Date{now.count() - age}}};
  };
  controller->propertyCache()["BRSC"] = entryOfAge(0.1);
  EXPECT_EQ(controller->valueForPropertyWithKey("BRSC"), PropertyValue("cached"));
  controller->propertyCache()["BRSC"] = entryOfAge(1.5);
  EXPECT_EQ(controller->valueForPropertyWithKey("BRSC"), PropertyValue(65534));
  EXPECT_EQ(controller->typeCodeOfPropertyWithKey("BRSC"), "sf7b");
  EXPECT_TRUE(controller->isWriteOnlyPropertyWithKey("BRSC"));
  EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey("BRSC"), 2);

  const auto entry = controller->updateCacheForPropertyWithKey("ZWui");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->size(), 4u);
  EXPECT_EQ(entry->at("Type"), "ui8 ");
  EXPECT_EQ(entry->at("IsWriteOnly"), true);
}

TEST_F(SMC, TellsItsSoftware) {
  const auto controller = made();
  EXPECT_EQ(controller->softwareVersion(), "2.11f260");
  EXPECT_EQ(controller->softwareBranchAndBuildGeneration(), std::string("m\xC3\xA9\0 (11)", 9));
  for (auto& key : model.keys) {
    if (key.key == smcCode("REV ") || key.key == smcCode("RSvn")) key.type = smcCode("flag");
  }
  EXPECT_EQ(controller->softwareVersion(), "<received 6 bytes for type 'flag': mismatch detected>");
  EXPECT_EQ(controller->softwareBranchAndBuildGeneration(), "<?>");
}

TEST_F(SMC, PrecisionComesFromTheType) {
  struct Case {
    const char* key;
    double delta;
    int digits;
  };
  const auto controller = made();
  for (const auto& c : {Case{"fp88", 1.0 / 256, 8}, Case{"fp1f", 1.0 / 32768, 6},
                        Case{"fpe2", 0.25, 2}, Case{"sp78", 1.0 / 256, 0}, Case{"spf0", 1.0, 0},
                        Case{"$Num", -1.0, 0}, Case{"Xfp0", -1.0, 0}}) {
    EXPECT_EQ(controller->precisionDeltaOfNumericPropertyWithKey(c.key), c.delta) << c.key;
    EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey(c.key), c.digits) << c.key;
  }
}

TEST(SMCCodes, PackAndUnpack) {
  struct Case {
    std::string text;
    std::uint32_t code;
  };
  for (const auto& c :
       {Case{"REV ", 0x52455620}, Case{"#KEY", 0x234B4559}, Case{"REV", 0}, Case{"REV  ", 0},
        Case{"", 0},
        // Bytes behind the first are signed. Four characters may be more bytes.
        Case{"\xC3\xA9zzz", 0xFFFFFFFF & (0xC3000000u | 0xFFA90000u | 0x7A7A)},
        Case{"a\xC3\xA9zz", 0xFFFFFFFFu & (0x61000000u | 0xFFC30000u | 0xFFFFA900u | 0x7A)}}) {
    EXPECT_EQ(Controller::smcKeyFromString(c.text), c.code) << c.text;
  }
  EXPECT_EQ(Controller::stringFromSMCKey(0x75693800), "ui8 ");
  EXPECT_EQ(Controller::stringFromSMCKey(0x75003820), "u   ");
  EXPECT_EQ(Controller::stringFromSMCKey(0), "    ");
  EXPECT_EQ(Controller::valueDecodingNotImplementedMarker(),
            "<decoding is currently not implemented>");
}

TEST(SMCFixedPoint, RecognizesExactlyItsCodes) {
  EXPECT_EQ(Controller::divisorForFloatingPointCode(smcCode("fp1f")), 32768);
  EXPECT_EQ(Controller::divisorForFloatingPointCode(smcCode("sp0f")), 32768);
  EXPECT_EQ(Controller::divisorForFloatingPointCode(smcCode("spf0")), 1);
  int recognized = 0;
  for (const auto prefix : {smcCode("fp\0\0"), smcCode("sp\0\0"), smcCode("sf\0\0")}) {
    for (SMCCode rest = 0; rest < 0x10000; ++rest) {
      if (Controller::divisorForFloatingPointCode(prefix | rest) != -1.0) ++recognized;
    }
  }
  EXPECT_EQ(recognized, 31);
}

TEST(SMCFixedPoint, EncodesByTruncation) {
  struct Case {
    double value;
    const char* type;
    int encoded;
  };
  for (const auto& c :
       {Case{1.999, "fp88", 0x01FF}, Case{-1.999, "sp78", 0xFE01}, Case{3000, "fpe2", 12000},
        Case{70000, "spf0", 70000 & 0xFFFF}, Case{1e300, "fp88", 0xFFFF}, Case{-1e300, "fp88", 0},
        Case{std::nan(""), "fp88", 0}, Case{1, "", -1}, Case{1, "ui16", -1}, Case{1, "fp00", -1},
        Case{1, "fp8", -1}}) {
    std::uint16_t encoded = 0xABCD;
    EXPECT_EQ(Controller::getSMCShort(&encoded, c.value, c.type), c.encoded >= 0) << c.type;
    EXPECT_EQ(encoded, c.encoded >= 0 ? c.encoded : 0xABCD) << c.value << c.type;
  }
  EXPECT_TRUE(Controller::getSMCShort(nullptr, 1, "fp88"));
}

}  // namespace
}  // namespace qrt
