#include "platform/SMCExchange.h"

#include "hardware/SMCCode.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr int read = smc_command::readKey, info = smc_command::keyInfo;
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
  /// Changes the driver's files by a shell script.
  void change(const std::string& script) { root.make("cd " + folder + "; " + script); }
  /// The index that was written.
  std::string index() { return test::contentsOf(root.path(folder + "/key_at_index")); }

  /// The codes of the driver and of the controller.
  Answer call(int command, SMCCode key = brsc) {
    SMCParameterRecord input;
    input.command = static_cast<std::uint8_t>(command);
    input.key = key;
    input.index = 2;
    answer = {};
    const auto code = exchange->callSMC(input, answer);
    return {code, answer.result};
  }

  const Answer done{KernelReturn::noError, 0};
  const Answer notFound{KernelReturn::noError, smc_result::keyNotFound};
  const std::string folder = "sys/devices/platform/applesmc.768";
  const test::ScratchFolder root;
  const std::unique_ptr<SMCExchange> exchange = makeSMCExchange(root.path());
  SMCParameterRecord answer;
};

TEST_F(SMCOnLinux, AKeyIsFoundInTheSortedListAndRead) {
  EXPECT_EQ(call(smc_command::keyAtIndex, 0), done);
  EXPECT_EQ(answer.key, brsc);
  EXPECT_EQ(index(), "2\n");
  EXPECT_EQ(call(info), done);
  EXPECT_EQ(answer.dataType, smcCode("ui8\0"));
  EXPECT_EQ(answer.dataSize, 2u);
  EXPECT_EQ(index(), "1\n");
  EXPECT_EQ(call(read), done);
  EXPECT_EQ(answer.bytes[0] << 8 | answer.bytes[1], 0xFFFE);
  // Keys before and after those in the list.
  for (const auto command : {info, read}) {
    EXPECT_EQ(call(command, smcCode("    ")), notFound);
    EXPECT_EQ(index(), "0\n");
    EXPECT_EQ(call(command, smcCode("~~~~")), notFound);
    EXPECT_EQ(index(), "2\n");
  }
}

TEST_F(SMCOnLinux, AFailureHasItsCode) {
  const auto failed = [](KernelReturn code) { return Answer(code, 0); };
  EXPECT_EQ(call(smc_command::writeKey), failed(KernelReturn::notPrivileged));
  EXPECT_EQ(call(7), failed(KernelReturn::badArgument));
  change("head -c 5000 /dev/zero | tee key_at_index_type > key_at_index_data");
  EXPECT_EQ(call(info), failed(KernelReturn::inputOutput));
  EXPECT_EQ(call(read), Answer(KernelReturn::noError, smc_result::keyNotReadable));
  // Another program changes the index.
  change("echo 77 > key_at_index");
  EXPECT_EQ(call(smc_command::keyAtIndex), failed(KernelReturn::busy));
  EXPECT_EQ(call(info), failed(KernelReturn::busy));
  change("echo many > key_count");
  EXPECT_EQ(call(read), failed(KernelReturn::inputOutput));
  change("echo 3 > key_count; ln -sf /dev/full key_at_index");
  EXPECT_EQ(call(read), failed(KernelReturn::inputOutput));
  change("rm key_count");
  EXPECT_EQ(call(read), notFound);
  change("rm -r ../applesmc.768");
  EXPECT_EQ(call(read), failed(KernelReturn::error));
}

}  // namespace
}  // namespace qrt
