#pragma once

#include <cmath>
#include <cstddef>
#include <deque>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/time/date.h"
#include "platform/support/utf8.h"

namespace platform {

/// The numbers that a member accepts; NaN is in no range.
struct NumberRange {
  double low;
  double high;
  /// What the number must be, for the error; null: an integer in the range.
  const char* rule = nullptr;
};

inline constexpr NumberRange kFinite = {
    std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max(), "a finite number"};

/// Copies the members of a C++ type to the object that flatc generates for its table, or, if
/// `kReading`, checks them and copies them back.
///
/// An overload `members(copier, wire, own)` lists the members of a table once for both directions:
/// `wire` is the generated object, `own` the C++ type.
///
/// Keeps the first fault and leaves out the member at fault. A string that is not UTF-8 is a fault
/// in both directions; numbers are checked when they are read.
///
/// The strings of `wire` are views: of `own` and the copier when writing, of the buffer when
/// reading.
template <bool kReading>
class WireCopier {
 public:
  /// `size` is the length in bytes of the buffer that is read. A buffer can refer to one string
  /// many times; more text than `size` is a fault, so that a small message does not fill the
  /// memory.
  explicit WireCopier(std::size_t size = 0) : textLeft_(size) {}

  /// What is wrong, with the member's name and place; empty if nothing is.
  const std::string& fault() const { return fault_; }

  bool check(bool holds, std::string_view name, std::string_view rule) {
    if (!holds && fault_.empty()) {
      fault_ = "\"" + std::string(name) + "\" " + std::string(rule);
    }
    return holds;
  }

  void text(const char* name, std::string_view& wire, auto& own) {
    if constexpr (!kReading) {
      wire = own;
    }
    if (check(isUTF8(wire), name, "must be valid UTF-8")) {
      if constexpr (kReading) {
        if (check(wire.size() <= textLeft_, name, "repeats text of the message")) {
          textLeft_ -= wire.size();
          own = wire;
        }
      }
    }
  }

  /// A boolean or bytes: every value is allowed.
  void any(auto& wire, auto& own) {
    if constexpr (requires { wire.size(); }) {
      copy(wire, own, [](auto& to, const auto& from) { to.assign(from.begin(), from.end()); });
    } else {
      copy(wire, own, [](auto& to, const auto& from) { to = from; });
    }
  }

  /// A number, an enumerator or a date. An absent one is not checked.
  template <class Wire, class Own>
  void number(const char* name, Wire& wire, Own& own, const NumberRange& range = kFinite) {
    if constexpr (requires { wire.reset(); }) {
      if constexpr (kReading) {
        if (wire && inRange(name, *wire, range)) {
          own = fromWire<typename Own::value_type>(*wire);
        }
      } else if (own) {
        wire = toWire<typename Wire::value_type>(*own);
      }
    } else if constexpr (kReading) {
      if (inRange(name, wire, range)) {
        own = fromWire<Own>(wire);
      }
    } else {
      wire = toWire<Wire>(own);
    }
  }

  /// An integer or an enumerator from 0 to `last`.
  void code(const char* name, auto& wire, auto& own, auto last) {
    number(name, wire, own, {.low = 0, .high = static_cast<double>(last)});
  }

  /// A dictionary of strings as JSON.
  void json(const char* name, std::string_view& wire, auto& own) {
    if constexpr (kReading) {
      const auto value = NSJSONSerialization::JSONObjectWithData(Data{std::string(wire)});
      if (check(value && value->dictionaryOfStrings(), name, "must be a JSON object of strings")) {
        own = *value->dictionary();
      }
    } else {
      const auto data = NSJSONSerialization::dataWithJSONObject(own);
      if (check(data.has_value(),
                name,
                data ? "" : "is not JSON: " + data.error().debugDescription)) {
        wire = texts_.emplace_back(data->bytes);
      }
    }
  }

  /// A table in another; null where an optional `own` is absent.
  template <class Wire>
  void table(const char* name, std::unique_ptr<Wire>& wire, auto& own) {
    constexpr bool kOptional = requires {
      own.has_value();
    };
    if constexpr (kReading) {
      if constexpr (kOptional) {
        if (wire) {
          members(*this, *wire, own.emplace());
        }
      } else if (check(wire != nullptr, name, "is missing")) {
        members(*this, *wire, own);
      }
    } else if constexpr (kOptional) {
      if (own) {
        members(*this, *(wire = std::make_unique<Wire>()), *own);
      }
    } else {
      members(*this, *(wire = std::make_unique<Wire>()), own);
    }
  }

  /// A list of tables or of strings.
  template <class Item>
  void list(const char* name, std::vector<Item>& wire, auto& own) {
    copy(wire, own, [](auto& to, const auto& from) { to.resize(from.size()); });
    for (std::size_t i = 0; i < wire.size(); ++i) {
      if constexpr (std::is_same_v<Item, std::string_view>) {
        text(name, wire[i], own[i]);
      } else {
        table(name, wire[i], own[i]);
      }
    }
  }

  /// A variant as a union whose types are `Tables`, in the variant's order.
  template <class... Tables>
  void variant(const char* name, std::tuple<Tables...>*, auto& wire, auto& own) {
    static_assert(sizeof...(Tables) == std::variant_size_v<std::decay_t<decltype(own)>>);
    const auto copied = [&]<std::size_t... i>(std::index_sequence<i...>) {
      return (alternative<Tables, i>(wire, own) || ...);
    }
    (std::index_sequence_for<Tables...>());
    check(copied, name, "is of an unknown type");
  }

  /// Calls `copyMembers` and puts what `place` returns in front of a fault that it finds.
  void at(auto place, auto copyMembers) {
    const bool wasGood = fault_.empty();
    copyMembers();
    if (wasGood && !fault_.empty()) {
      fault_ = place() + fault_;
    }
  }

 private:
  template <class Table, std::size_t i>
  bool alternative(auto& wire, auto& own) {
    if constexpr (kReading) {
      // The first type of a union is NONE. A buffer may have a type but no value.
      if (static_cast<std::size_t>(wire.type) != i + 1 || !wire.value) {
        return false;
      }
      members(*this, *static_cast<Table*>(wire.value), own.template emplace<i>());
    } else {
      if (own.index() != i) {
        return false;
      }
      Table table;
      members(*this, table, std::get<i>(own));
      wire.Set(std::move(table));
    }
    return true;
  }

  static void copy(auto& wire, auto& own, auto assign) {
    if constexpr (kReading) {
      assign(own, wire);
    } else {
      assign(wire, own);
    }
  }

  bool inRange(const char* name, auto number, const NumberRange& range) {
    const auto value = static_cast<double>(number);
    if (value >= range.low && value <= range.high) {
      return true;
    }
    const std::string integers = "an integer from " + std::to_string(std::llround(range.low)) +
                                 " to " + std::to_string(std::llround(range.high));
    return check(false, name, "must be " + (range.rule ? range.rule : integers));
  }

  template <class Own>
  static Own fromWire(auto number) {
    if constexpr (std::is_same_v<Own, Date>) {
      return Date::since1970(number);
    } else {
      return static_cast<Own>(number);
    }
  }
  template <class Wire>
  static Wire toWire(auto own) {
    if constexpr (std::is_same_v<decltype(own), Date>) {
      return own.timeIntervalSince1970();
    } else {
      return static_cast<Wire>(own);
    }
  }

  std::size_t textLeft_;
  std::string fault_;
  std::deque<std::string> texts_;
};

}  // namespace platform
