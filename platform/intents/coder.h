#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"

namespace platform {

/// The members of an object in a keyed archive.
///
/// An absent member decodes to nothing. A member of another type also does, and sets `error`: the
/// object can't be made from the archive.
class NSCoder {
 public:
  NSCoder() = default;
  explicit NSCoder(Dictionary members) : members_(std::move(members)) {}

  /// Without a value, encodes no member.
  template <class T>
  void encodeObject(const std::optional<T>& object, std::string key) {
    if (object) {
      members_.set(std::move(key), Value(*object));
    }
  }

  template <class T>
  std::optional<T> decodeObject(std::string_view key) {
    const Value* value = members_.find(key);
    const T* object = value ? value->as<T>() : nullptr;
    if (value && !object && !error_) {
      error_ =
          readCorruptError("the archived member \"" + std::string(key) + "\" is of another type");
    }
    return object ? std::optional(*object) : std::nullopt;
  }

  /// The first error of decoding.
  const std::optional<NSError>& error() const { return error_; }
  const Dictionary& members() const { return members_; }

 private:
  Dictionary members_;
  std::optional<NSError> error_;
};

/// An object in keyed archives. Its class also has `kClassName` and
/// `static std::shared_ptr<T> initWithCoder(NSCoder&)`, which returns null if decoding fails.
class NSCoding {
 public:
  virtual ~NSCoding() = default;
  virtual std::string_view className() const = 0;
  virtual void encodeWithCoder(NSCoder& coder) const = 0;

 protected:
  NSCoding() = default;
  NSCoding(const NSCoding&) = default;
  NSCoding& operator=(const NSCoding&) = default;
};

}  // namespace platform
