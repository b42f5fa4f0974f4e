#pragma once

/// Whether the platform has feature number `feature`. Takes no lock; may be called from any thread.
[[gnu::visibility("default")]] bool isActive(int feature);
