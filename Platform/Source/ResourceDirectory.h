#pragma once

/// A directory of resources that whoever links the static libraries gives, or "". The one here
/// gives none; it stands in a file of its own so that another, linked before the library, takes its
/// place: the CMake package adds one to programs, which an installed library's own place says
/// nothing about.
extern "C" const char* pellixHostResources();
