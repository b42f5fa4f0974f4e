#pragma once

namespace oltmgrd {

/// Whether something takes connections on the portmapper's port of this host.
bool portmapperIsThere();

/// Ends the calls to the portmapper that are under way: they fail at once instead of at their time-out.
void cutPortmapperCalls();

}  // namespace oltmgrd
