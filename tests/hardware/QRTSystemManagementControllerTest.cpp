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
  /// Has each exchange with that command fail.
  void fail(int command, ModelSMC::Fault fault) {
    model.fault = [=](auto& input, auto) {
      return input.command == command ? std::optional(fault) : std::nullopt;
    };
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
      EXPECT_EQ(log.texts().back(),
                "QRTSystemManagementController: could not " +
                    (step < 2 ? "determine available keys on this platform\n"
                              : "get key at index " + std::to_string(step - 2) + "\n"));
    }
  }
  model.fault = nullptr;
  auto* controller = shared.controller();
  EXPECT_TRUE(controller);
  EXPECT_EQ(shared.controller(), controller);
  model.keys.front().type = smcCode("ui16");
  EXPECT_FALSE(Controller::init(model, log));
}

TEST_F(SMC, FailedReadsAreNoValueAndRefusedOnesAreWriteOnly) {
  const auto controller = made();
  const struct {
    int command;
    ModelSMC::Fault fault;
    std::optional<PropertyValue> value;
    int loggedCode;
  } cases[] = {
      {smc_command::keyInfo, {KernelReturn::error}, {}, -536870212},
      {smc_command::keyInfo, {{}, 0x84}, {}, -536870160},
      // Not even the type is known.
      {smc_command::keyInfo, {{}, 0x85}, smcUnknownTypeMarker, 0},
      {smc_command::readKey, {KernelReturn::noSpace}, {}, -536870181},
      {smc_command::readKey, {{}, 1}, "<write-only property>", 0},
      // The driver's own code for it comes with an answer, if an empty one.
      {smc_command::readKey, {KernelReturn::internalError}, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    fail(c.command, c.fault);
    const auto lines = log.lines().size();
    EXPECT_EQ(controller->valueForPropertyWithKey("BRSC"), c.value);
    EXPECT_EQ(controller->isWriteOnlyPropertyWithKey("BRSC"), c.value.has_value());
    if (c.loggedCode == 0) continue;
    EXPECT_EQ(log.texts().at(lines),
              "QRTSystemManagementController: failed to get value for key 'BRSC' (error " +
                  std::to_string(c.loggedCode) + ")\n");
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
  // It need not be listed.
  model.keys.push_back({"Longhex_", Data(40), ""});
  const auto controller = made();
  const Data bytes(600, 0x5A);
  const struct {
    const char* key;
    std::size_t length;
    bool isWritten;
    std::vector<int> commands;
  } cases[] = {
      {"BRSC", 2, true, {9, 6}},  {"BRSC", 2 + 256, true, {9, 6}}, {"BRSC", 3, false, {9}},
      {"BRSC", 0, false, {}},     {"BRSCx", 2, false, {}},         {"nope", 2, false, {9}},
      {"Long", 40, true, {9, 6}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.key) + " " + std::to_string(c.length));
    model.exchanges.clear();
    EXPECT_EQ(controller->writeRawBytes(bytes.data(), c.length, c.key), c.isWritten);
    EXPECT_EQ(commands(), c.commands);
    if (!c.isWritten) continue;
    const auto& record = model.exchanges.back();
    EXPECT_EQ(record.dataSize, c.length % 256);
    EXPECT_EQ(std::count(record.bytes.begin(), record.bytes.end(), 0x5A),
              std::min<long>(record.dataSize, 32));
  }
  EXPECT_FALSE(controller->writeRawBytes(nullptr, 2, "BRSC"));
}

TEST_F(SMC, FailedWritesAreTold) {
  const auto controller = made();
  const std::uint8_t bytes[2] = {};
  const std::pair<int, ModelSMC::Fault> faults[] = {
      {9, {KernelReturn::error}}, {9, {{}, 0x84}}, {6, {{}, 0x86}}};
  for (const auto& [command, fault] : faults) {
    fail(command, fault);
    EXPECT_FALSE(controller->writeRawBytes(bytes, 2, "BRSC"));
    EXPECT_TRUE(log.lines().empty());
  }
  fail(6, {KernelReturn::notPrivileged});
  EXPECT_FALSE(controller->writeRawBytes(bytes, 2, "BRSC"));
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

  using Seconds = std::chrono::duration<double>;
  const Seconds now = std::chrono::system_clock::now().time_since_epoch();
  for (const auto& [age, value] : {std::pair(0.1, PropertyValue("cached")), {1.5, 65534}}) {
    controller->propertyCache()["BRSC"] = Dictionary{{"Type", "sf7b"},
                                                     {"IsWriteOnly", true},
                                                     {"Value", "cached"},
                                                     {"LastAccess", Date{now.count() - age}}};
    EXPECT_EQ(controller->valueForPropertyWithKey("BRSC"), value);
  }
  EXPECT_EQ(controller->typeCodeOfPropertyWithKey("BRSC"), "sf7b");
  EXPECT_TRUE(controller->isWriteOnlyPropertyWithKey("BRSC"));
  EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey("BRSC"), 2);
  const auto entry = controller->updateCacheForPropertyWithKey("ZWui");
  ASSERT_TRUE(entry);
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
  const auto controller = made();
  const std::tuple<const char*, double, int> cases[] = {
      {"fp88", 1.0 / 256, 8}, {"fp1f", 1.0 / 32768, 6}, {"sp78", 1.0 / 256, 0},
      {"spf0", 1.0, 0},       {"$Num", -1.0, 0},        {"Xfp0", -1.0, 0}};
  for (const auto& [key, delta, digits] : cases) {
    EXPECT_EQ(controller->precisionDeltaOfNumericPropertyWithKey(key), delta) << key;
    EXPECT_EQ(controller->maximumFractionDigitsOfNumericPropertyWithKey(key), digits) << key;
  }
}

TEST(SMCCodes, PackAndUnpack) {
  const std::pair<std::string, std::uint32_t> cases[] = {
      {"REV ", 0x52455620},
      {"REV", 0},
      {"REV  ", 0},
      // Bytes behind the first are signed. Four characters may be more bytes.
      {"\xC3\xA9zzz", 0xFFFFFFFF & (0xC3000000u | 0xFFA90000u | 0x7A7A)}};
  for (const auto& [text, code] : cases) {
    EXPECT_EQ(Controller::smcKeyFromString(text), code) << text;
  }
  EXPECT_EQ(Controller::stringFromSMCKey(0x75003820), "u   ");
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
  const struct {
    double value;
    const char* type;
    int encoded;
  } cases[] = {{1.999, "fp88", 0x01FF},
               {-1.999, "sp78", 0xFE01},
               {70000, "spf0", 70000 & 0xFFFF},
               {1e300, "fp88", 0xFFFF},
               {-1e300, "fp88", 0},
               {std::nan(""), "fp88", 0},
               {1, "", -1},
               {1, "ui16", -1},
               {1, "fp00", -1}};
  for (const auto& c : cases) {
    std::uint16_t encoded = 0xABCD;
    EXPECT_EQ(Controller::getSMCShort(&encoded, c.value, c.type), c.encoded >= 0) << c.type;
    EXPECT_EQ(encoded, c.encoded >= 0 ? c.encoded : 0xABCD) << c.value << c.type;
  }
  EXPECT_TRUE(Controller::getSMCShort(nullptr, 1, "fp88"));
}

}  // namespace
}  // namespace qrt
