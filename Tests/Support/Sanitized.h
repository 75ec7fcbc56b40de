#pragma once

// Which sanitizers are on: gcc and clang tell of it in different ways.
#if defined(__SANITIZE_ADDRESS__)
#define IS_ADDRESS_SANITIZED
#elif defined(__SANITIZE_THREAD__)
#define IS_THREAD_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define IS_ADDRESS_SANITIZED
#elif __has_feature(thread_sanitizer)
#define IS_THREAD_SANITIZED
#endif
#endif
