#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/time/date.h"

namespace platform {

class Value;

/// Bytes.
struct Data {
  std::string bytes;
  friend bool operator==(const Data&, const Data&) = default;
};

/// An object of a property list that has none of the types below, such as a UID or a string with
/// half a surrogate pair. Holds its binary form, so that rewriting the list loses nothing.
struct UnsupportedObject {
  std::string bytes;
  friend bool operator==(const UnsupportedObject&, const UnsupportedObject&) = default;
};

/// JSON's null, the platform's null object.
struct Null {
  friend bool operator==(Null, Null) = default;
};

using Array = std::vector<Value>;

/// String keys to values of any type, ordered by key.
///
/// The typed reads are the platform's casts: nothing if the key is absent or the cast fails.
///
/// Stored as a sorted array: making one from all its members at once is fastest, and setting a key
/// moves the members behind it.
class Dictionary {
 public:
  using Member = std::pair<std::string, Value>;

  Dictionary() = default;
  Dictionary(std::initializer_list<Member> members);
  /// Takes members in any order; of equal keys the last wins.
  explicit Dictionary(std::vector<Member> members);

  /// The value of `key`, or null.
  const Value* find(std::string_view key) const;
  /// Sets or replaces the value of `key`.
  void set(std::string key, Value value);
  /// Returns whether there was a value.
  bool remove(std::string_view key);

  /// An integer, a boolean (1 or 0), or a floating-point number without a fraction that fits.
  std::optional<std::int64_t> integer(std::string_view key) const;
  /// An integer, a boolean or a floating-point number.
  std::optional<double> number(std::string_view key) const;
  std::optional<std::string> string(std::string_view key) const;

  bool empty() const;
  std::size_t size() const;
  std::vector<Member>::const_iterator begin() const;
  std::vector<Member>::const_iterator end() const;
  friend bool operator==(const Dictionary&, const Dictionary&);

 private:
  std::vector<Member> members_;
};

/// A value of one of the types that property lists, JSON and messages between processes hold.
///
/// Copies are deep. Integers, floating-point numbers and booleans remain different types; integers
/// beyond 64 bits are held as doubles.
class Value {
 public:
  using Storage = std::variant<Null,
                               bool,
                               std::int64_t,
                               double,
                               std::string,
                               Data,
                               Date,
                               UnsupportedObject,
                               Array,
                               Dictionary>;

  Value() = default;
  Value(Null) {}
  Value(bool value) : storage_(value) {}
  Value(std::int64_t value) : storage_(value) {}
  Value(int value) : storage_(std::int64_t{value}) {}
  Value(double value) : storage_(value) {}
  Value(std::string value) : storage_(std::move(value)) {}
  Value(std::string_view value) : storage_(std::string(value)) {}
  Value(const char* value) : storage_(std::string(value)) {}
  Value(Data value) : storage_(std::move(value)) {}
  Value(Date value) : storage_(value) {}
  Value(UnsupportedObject value) : storage_(std::move(value)) {}
  Value(Array value) : storage_(std::move(value)) {}
  Value(Dictionary value) : storage_(std::move(value)) {}
  /// An absent value is null.
  template <class T>
  Value(const std::optional<T>& value) : Value(value ? Value(*value) : Value()) {}
  /// Otherwise pointers would become booleans.
  template <class T>
  Value(const T*) = delete;

  bool isNull() const { return std::holds_alternative<Null>(storage_); }
  /// The value if it has exactly that type, else null.
  template <class T>
  const T* as() const {
    return std::get_if<T>(&storage_);
  }
  const Dictionary* dictionary() const { return as<Dictionary>(); }
  /// The dictionary if all its values are strings.
  const Dictionary* dictionaryOfStrings() const;
  const Array* array() const { return as<Array>(); }

  /// The platform's number casts, as `Dictionary::integer` and `Dictionary::number` describe them.
  std::optional<std::int64_t> integer() const;
  std::optional<double> number() const;

  const Storage& storage() const { return storage_; }
  friend bool operator==(const Value&, const Value&) = default;

 private:
  Storage storage_;
};

// Defined here because a vector needs its element type to be complete.
inline bool Dictionary::empty() const {
  return members_.empty();
}
inline std::size_t Dictionary::size() const {
  return members_.size();
}
inline std::vector<Dictionary::Member>::const_iterator Dictionary::begin() const {
  return members_.begin();
}
inline std::vector<Dictionary::Member>::const_iterator Dictionary::end() const {
  return members_.end();
}

}  // namespace platform
