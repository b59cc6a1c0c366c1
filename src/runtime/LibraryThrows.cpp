// What the standard library calls to throw. Its own versions build their messages in strings of two kinds and
// bring a source of random numbers along, 50 KB that nobody reads: a guard turns every one of them into the
// same failure. Memory that cannot be had keeps its own type, since that one answers E_OUTOFMEMORY.
#include <cstddef>
#include <new>

#include "com/Error.h"

// The linker takes the library's own file as soon as one of them is missing here, so all are here.
#define KZR_LIBRARY_THROW(name)          \
    [[noreturn]] void name(const char*); \
    void name(const char*) { kzr::Fail(E_FAIL); }

namespace std {

[[noreturn]] void __throw_bad_alloc();
void __throw_bad_alloc() { throw bad_alloc(); }
[[noreturn]] void __throw_bad_array_new_length();
void __throw_bad_array_new_length() { throw bad_alloc(); }

[[noreturn]] void __throw_bad_exception();
void __throw_bad_exception() { kzr::Fail(E_FAIL); }
[[noreturn]] void __throw_bad_cast();
void __throw_bad_cast() { kzr::Fail(E_FAIL); }
[[noreturn]] void __throw_bad_typeid();
void __throw_bad_typeid() { kzr::Fail(E_FAIL); }

KZR_LIBRARY_THROW(__throw_logic_error)
KZR_LIBRARY_THROW(__throw_domain_error)
KZR_LIBRARY_THROW(__throw_invalid_argument)
KZR_LIBRARY_THROW(__throw_length_error)
KZR_LIBRARY_THROW(__throw_out_of_range)
KZR_LIBRARY_THROW(__throw_runtime_error)
KZR_LIBRARY_THROW(__throw_range_error)
KZR_LIBRARY_THROW(__throw_overflow_error)
KZR_LIBRARY_THROW(__throw_underflow_error)

[[noreturn]] void __throw_out_of_range_fmt(const char*, ...);
void __throw_out_of_range_fmt(const char*, ...) { kzr::Fail(E_FAIL); }

}  // namespace std
