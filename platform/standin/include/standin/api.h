#pragma once

/// Marks what the stand-in's library exports, a class, a function or a whole namespace.
#define STANDIN_API [[gnu::visibility("default")]]
