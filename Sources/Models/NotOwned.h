#pragma once

#include <memory>
#include <utility>

namespace vlm {

/// A reference to a record that somebody else owns; none once the record is gone.
template <class T>
class NotOwned {
 public:
  NotOwned() = default;
  NotOwned(std::shared_ptr<T> record) : record_(std::move(record)) {}  // NOLINT(google-explicit-constructor)
  std::shared_ptr<T> get() const { return record_.lock(); }

 private:
  std::weak_ptr<T> record_;
};

}  // namespace vlm
