#pragma once

/// Marks what a shared library offers to its users; everything else is hidden.
#define PELLIX_EXPORT __attribute__((visibility("default")))
