#pragma once

namespace host {

/// "1.0.0 (5e1e498)": the project's version and the commit that was built.
const char* version();

}  // namespace host
