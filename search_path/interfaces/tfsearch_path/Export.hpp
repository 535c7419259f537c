#pragma once
// What the search path libraries export. They are compiled with hidden
// visibility: a class or function that a public header declares and a
// library defines leaves it only when marked TFSP_API, and everything else
// (the implementation's own classes, its inline functions) binds inside the
// library. A marked class exports its members, its virtual table and its
// type information, so that a host can derive from an interface and catch
// an exception of the library by its type.
//
// A class nested in a marked one takes its visibility: the private parts of
// an exported class (a pimpl's Impl) are defined TFSP_LOCAL, so that they
// stay inside.
#if defined(__GNUC__) || defined(__clang__)
#define TFSP_API __attribute__((visibility("default")))
#define TFSP_LOCAL __attribute__((visibility("hidden")))
#else
#define TFSP_API
#define TFSP_LOCAL
#endif
