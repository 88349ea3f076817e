#pragma once

#include <expected>
#include <memory>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"
#include "platform/intents/coder.h"

namespace platform {

/// Archives are property lists with an object's class and its members by key. The format is our
/// own: archives that a phone wrote, which number their objects, can't be read.
struct NSKeyedArchiver {
  /// Fails on members that a property list can't hold; the error names the member.
  static std::expected<Data, NSError> archivedDataWithRootObject(const NSCoding& object);
};

class NSKeyedUnarchiver {
 public:
  /// The object in untrusted bytes. Fails on bytes that are not an archive, an object of another
  /// class and members that the class rejects.
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
