#pragma once

/// Whether the platform's singletons are the platform's own objects. A platform that hides them would leave
/// the module with objects of its own, to which nobody listens: the first such class is told on standard
/// error, and the answer is false. Makes no object that the platform exports the access to.
bool platformSingletonsAreShared();
