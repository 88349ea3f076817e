#pragma once

#include <expected>
#include <memory>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"
#include "platform/intents/coder.h"

namespace platform {

/// Archives: a property list of an object's class and of its members by key. The form is that of
/// this system alone; an archive that a phone wrote numbers its objects and is not read.
struct NSKeyedArchiver {
  /// Fails on members that no property list can hold; the error names the member.
  static std::expected<Data, NSError> archivedDataWithRootObject(const NSCoding& object);
};

class NSKeyedUnarchiver {
 public:
  /// The object, from bytes that nobody has checked. Fails on what is no archive, on an object of
  /// another class and on members that the class does not take.
  template <class T>
  static std::expected<std::shared_ptr<T>, NSError> unarchivedObject(const Data& data) {
    auto coder = coderForObject(T::kClassName, data);
    if (!coder) {
      return std::unexpected(coder.error());
    }
    if (auto object = T::initWithCoder(*coder)) {
      return object;
    }
    return std::unexpected(coder->error().value_or(readCorruptError("no object was made")));
  }

 private:
  static std::expected<NSCoder, NSError> coderForObject(std::string_view className,
                                                        const Data& data);
};

}  // namespace platform
