// Marks what the shared library shows to its hosts; everything else stays hidden.
#pragma once

#define ZRB_EXPORT __attribute__((visibility("default")))
#define ZRB_HIDDEN __attribute__((visibility("hidden")))
