#include "platform/SMCExchange.h"

#include "hardware/SMCCode.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::uint8_t read = smc_command::readKey, info = smc_command::keyInfo;
constexpr SMCCode brsc = smcCode("BRSC");

class SMCOnLinux : public testing::Test {
 protected:
  using Answer = std::pair<KernelReturn, int>;

  /// The files have the same key for each index.
  SMCOnLinux() {
    root.make("mkdir -p " + folder);
    change(
        "echo 3 > key_count; echo 0 > key_at_index; echo BRSC > key_at_index_name; "
        "echo ui8 > key_at_index_type; printf '\\377\\376' > key_at_index_data; "
        "echo 2 > key_at_index_data_length");
  }
  void change(const std::string& script) { root.make("cd " + folder + "; " + script); }
  /// The codes of the driver and of the controller.
  Answer call(std::uint8_t command, SMCCode key = brsc) {
    SMCParameterRecord input;
    input.command = command;
    input.key = key;
    input.index = 2;
    answer = {};
    const auto code = exchange->callSMC(input, answer);
    return {code, answer.result};
  }

  const std::string folder = "sys/devices/platform/applesmc.768";
  const test::ScratchFolder root;
  const std::unique_ptr<SMCExchange> exchange = makeSMCExchange(root.path());
  SMCParameterRecord answer;
};

TEST_F(SMCOnLinux, AFailureHasItsCode) {
  using enum KernelReturn;
  EXPECT_EQ(call(smc_command::writeKey), Answer(notPrivileged, 0));
  const std::tuple<const char*, std::uint8_t, Answer> cases[] = {
      {"head -c 5000 /dev/zero > key_at_index_data", read, {noError, smc_result::keyNotReadable}},
      {"head -c 5000 /dev/zero > key_at_index_type", info, {inputOutput, 0}},
      // Another program changes the index.
      {"echo 77 > key_at_index", info, {busy, 0}},
      {"echo many > key_count", read, {inputOutput, 0}},
      {"rm key_count", read, {noError, smc_result::keyNotFound}},
      {"rm -r ../applesmc.768", read, {error, 0}}};
  for (const auto& [script, command, result] : cases) {
    change(script);
    EXPECT_EQ(call(command), result) << script;
  }
}

}  // namespace
}  // namespace qrt
