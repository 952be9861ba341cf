#pragma once

/// Stands before a name that the shared library exports: classes, functions and variables that applications
/// use. Everything else is compiled with hidden visibility. A class is marked as a whole, its type
/// information included, so that an exception thrown inside the library is caught outside of it.
#define ZN_API __attribute__((visibility("default")))
