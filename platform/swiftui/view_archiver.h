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
/// `proposal` is the size that the host will propose to the view. Stops the process if a geometry
/// reader is inside a stack, an aspect ratio or what is behind a view: its size would depend on
/// typefaces, which the extension does not have.
ArchivedView archiveView(const View& view,
                         Size proposal,
                         const EnvironmentValues& environment,
                         const NSBundle& bundle);

}  // namespace platform
