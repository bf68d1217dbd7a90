#pragma once

/// \file
/// Compiler settings that every translation unit including TavrelDI must share with the
/// library. Each public header that includes Asio includes this header first.
///
/// Clang (14 and later) with libstdc++ has C++20 coroutines, but Asio 1.22 looks for them only
/// in libc++'s `<experimental/coroutine>` and so leaves out `asio::awaitable`. This header
/// switches Asio's coroutine support on for such a compiler. It must come before the first
/// Asio header; the CMake package (`TavrelDI::Framework`) also passes `ASIO_HAS_CO_AWAIT=1` to
/// Clang consumers, so there the include order does not matter. A translation unit that
/// included Asio first without that setting fails here with a message saying so, instead of
/// with errors about a missing `asio::awaitable`.

#if defined(__clang__) && !defined(ASIO_HAS_CO_AWAIT) && !defined(ASIO_DISABLE_CO_AWAIT) && \
    defined(__cpp_impl_coroutine) && __has_include(<coroutine>)
#if defined(ASIO_DETAIL_CONFIG_HPP)
#error \
    "TavrelDI needs Asio's coroutine support: include a TavrelDI header before the first Asio header, or compile with -DASIO_HAS_CO_AWAIT=1"
#endif
#define ASIO_HAS_CO_AWAIT 1
#if !defined(ASIO_HAS_STD_COROUTINE) && !defined(ASIO_DISABLE_STD_COROUTINE)
#define ASIO_HAS_STD_COROUTINE 1
#endif
#endif
