// Prints what in a folder has the ending ".log", and how large the folder is: search FOLDER
#include <privilegerequestor/PrivilegeRequestor.h>

#include <iostream>

int main(int count, char** words) {
  if (count != 2) return 2;
  const std::string folder = words[1];

  auto requestor = qrt::PrivilegeRequestor::connect();
  if (!requestor) {
    std::cerr << qrt::messageOf(requestor.error()) << "\n";
    return 1;
  }
  const auto print = [](const qrt::OperationFeedback& feedback) {
    for (const auto& found : feedback.objects) std::cout << found.path << " " << found.size << "\n";
  };
  const qrt::SearchPatternsArguments search{.folder = folder, .extensions = {"log"}};
  if (const auto failure = requestor->searchPatterns(search, print)) {
    std::cerr << qrt::messageOf(*failure) << "\n";
    return 1;
  }
  const auto size = requestor->inspectStoragesize({.folder = folder});
  if (!size) {
    std::cerr << qrt::messageOf(size.error()) << "\n";
    return 1;
  }
  std::cout << *size << " bytes\n";
}
