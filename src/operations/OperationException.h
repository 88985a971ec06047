// The exception of an operation that has no error to return.
#pragma once

#include <exception>
#include <string>

namespace qrt {

/// The request pipeline catches it. Both texts may be empty.
class OperationException : public std::exception {
 public:
  OperationException(std::string name, std::string reason)
      : name_(std::move(name)), reason_(std::move(reason)) {}

  const std::string& name() const { return name_; }
  const char* what() const noexcept override { return reason_.c_str(); }

 private:
  std::string name_;
  std::string reason_;
};

}  // namespace qrt
