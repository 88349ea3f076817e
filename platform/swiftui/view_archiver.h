#pragma once

#include "platform/foundation/bundle/bundle.h"
#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/environment.h"
#include "platform/swiftui/geometry.h"
#include "platform/swiftui/view.h"

namespace platform {

/// Evaluates a view for a host: runs every body in its environment, resolves geometry readers and
/// looks texts up in `bundle`.
///
/// `proposal` is the size that the host will lay the view out in. A geometry reader anywhere but
/// under paddings, frames and backgrounds' contents stops the process: its size would depend on
/// typefaces, which the extension does not have.
ArchivedView archiveView(const View& view,
                         Size proposal,
                         const EnvironmentValues& environment,
                         const NSBundle& bundle);

}  // namespace platform
