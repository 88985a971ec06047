// The registered client processes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>

namespace qrt {

/// A set of process identifiers as the clients state them. Each counts against the user whose
/// process registered it first, until any process unregisters it. Guarded by the helper's
/// `clientSetLock`.
class ClientSet {
 public:
  /// Far more clients than one user needs, in little memory.
  static constexpr std::size_t maximumOfOneUser = 1024;

  /// False when that user has no room for a further identifier. An identifier that is registered
  /// counts for all users. Root has no limit.
  [[nodiscard]] bool add(std::int32_t identifier, std::uint32_t user) {
    if (users_.contains(identifier)) return true;
    const auto mine = counts_.find(user);
    if (user != 0 && mine != counts_.end() && mine->second >= maximumOfOneUser) return false;
    users_.emplace(identifier, user);
    ++counts_[user];
    return true;
  }

  /// Does nothing when the identifier is not registered.
  void remove(std::int32_t identifier) {
    const auto client = users_.find(identifier);
    if (client == users_.end()) return;
    const auto count = counts_.find(client->second);
    if (--count->second == 0) counts_.erase(count);
    users_.erase(client);
  }

  std::size_t count() const { return users_.size(); }

  std::set<std::int32_t> identifiers() const {
    std::set<std::int32_t> identifiers;
    for (const auto& [identifier, user] : users_) identifiers.insert(identifier);
    return identifiers;
  }

 private:
  /// The user that each identifier counts against.
  std::map<std::int32_t, std::uint32_t> users_;
  std::map<std::uint32_t, std::size_t> counts_;
};

}  // namespace qrt
