#include "service/LogAllowance.h"

#include <algorithm>
#include <utility>

namespace qrt {
namespace {

constexpr std::uint32_t root = 0;

}  // namespace

void LogAllowance::refill(Account& account, Clock::time_point now) {
  const std::chrono::duration<double> passed = now - account.counted;
  account.lines = std::min(burst, account.lines + passed.count() * linesPerSecond);
  account.counted = now;
}

bool LogAllowance::admits(std::uint32_t user, Clock::time_point now) {
  if (user == root) return true;
  const std::lock_guard guard(mutex_);
  auto& account = accounts_.try_emplace(user, Account{.counted = now}).first->second;
  refill(account, now);
  account.isSilenced = account.isSilenced || account.lines < 1;
  if (account.isSilenced) return false;
  account.lines -= 1;
  return true;
}

void LogAllowance::addDropped(std::uint32_t user, std::uint64_t count) {
  const std::lock_guard guard(mutex_);
  const auto account = accounts_.find(user);
  if (account != accounts_.end()) account->second.dropped += count;
}

std::vector<LogAllowance::Report> LogAllowance::takeReports(Clock::time_point now) {
  const std::lock_guard guard(mutex_);
  if (now < nextLook_) return {};
  nextLook_ = now + std::chrono::seconds(1);
  std::vector<Report> due;
  for (auto& [user, account] : accounts_) {
    refill(account, now);
    if (account.lines < linesPerSecond) continue;
    account.isSilenced = false;
    if (account.dropped == 0) continue;
    due.push_back({user, std::exchange(account.dropped, 0)});
    account.lines -= 1;
  }
  std::erase_if(accounts_, [](const auto& entry) { return entry.second.lines >= burst; });
  return due;
}

std::vector<LogAllowance::Report> LogAllowance::takeAllReports() {
  const std::lock_guard guard(mutex_);
  std::vector<Report> all;
  for (auto& [user, account] : accounts_) {
    if (account.dropped != 0) all.push_back({user, std::exchange(account.dropped, 0)});
  }
  return all;
}

}  // namespace qrt
