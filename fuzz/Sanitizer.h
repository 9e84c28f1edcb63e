// SPDX-FileCopyrightText: 2026 the history-convert authors
// SPDX-License-Identifier: MIT

#pragma once

// Defines FUZZ_ADDRESS_SANITIZER in a build under the address sanitizer.

#ifdef __SANITIZE_ADDRESS__
#define FUZZ_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FUZZ_ADDRESS_SANITIZER
#endif
#endif
