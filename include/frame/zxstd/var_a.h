#pragma once
/// \file
/// The reference-counted owning pointer in which factories hand out new objects.

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace SatCommonUtils {

template <class Pointer>
class var_a;

/// Owning pointer with an atomic reference count and a deleter chosen when the first owner is made.
///
/// Copies share the object; the last one that goes deletes it. It may be empty. Different copies may be
/// copied and released on different threads; one and the same `var_a` object is not safe to change from
/// two threads. A `var_a<Derived*>` converts to a `var_a<Base*>` and still deletes through `Derived`.
template <class T>
class var_a<T*> {
 public:
  /// What is owned.
  using element_type = T;

  /// Empty.
  var_a() noexcept = default;
  /// Empty.
  var_a(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor): a null is a null pointer
  /// Takes ownership of `object` (may be null); it is deleted as the type `U` that it is given as.
  template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
  explicit var_a(U* object) : holder_(object) {}
  /// Takes ownership of `object`; `deleter(object)` runs when the last owner goes.
  template <class U, class Deleter, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
  var_a(U* object, Deleter deleter) : holder_(object, std::move(deleter)) {}
  /// Shares the object of an owner of a related type.
  template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
  var_a(const var_a<U*>& other) noexcept  // NOLINT(google-explicit-constructor): as pointers convert
      : holder_(other.holder_) {}
  /// Takes over the object of an owner of a related type, which is empty afterwards.
  template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
  var_a(var_a<U*>&& other) noexcept  // NOLINT(google-explicit-constructor): as pointers convert
      : holder_(std::move(other.holder_)) {}

  /// The object, or null.
  T* get() const noexcept { return holder_.get(); }
  /// The object; there must be one.
  T& operator*() const noexcept { return *holder_; }
  /// The object's members; there must be one.
  T* operator->() const noexcept { return holder_.get(); }
  /// True when it owns an object.
  explicit operator bool() const noexcept { return static_cast<bool>(holder_); }
  /// Number of owners of the object, 0 when empty. Only a hint while other threads copy or release.
  long use_count() const noexcept { return holder_.use_count(); }
  /// Releases the object and becomes empty.
  void reset() noexcept { holder_.reset(); }
  /// Exchanges the objects.
  void swap(var_a& other) noexcept { holder_.swap(other.holder_); }

  /// The same object, or both without one.
  friend bool operator==(const var_a& a, const var_a& b) noexcept { return a.holder_ == b.holder_; }
  friend bool operator!=(const var_a& a, const var_a& b) noexcept { return a.holder_ != b.holder_; }

 private:
  template <class>
  friend class var_a;
  template <class U, class... Args>
  friend var_a<U*> make_var_a(Args&&... args);

  std::shared_ptr<T> holder_;
};

/// A new `T` built from `args`, owned by the returned pointer.
template <class T, class... Args>
var_a<T*> make_var_a(Args&&... args) {
  var_a<T*> result;
  result.holder_ = std::make_shared<T>(std::forward<Args>(args)...);
  return result;
}

}  // namespace SatCommonUtils
