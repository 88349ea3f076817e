#pragma once

#include <string_view>

namespace host {

/// Whether the address is one of the two schemes that background transfers know.
bool isTransferable(std::string_view url);

}  // namespace host
