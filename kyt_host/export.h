#pragma once

/// Marks what the shared library exports; everything else in it is hidden.
#if defined(KYT_HOST_STATIC)
#define KYT_HOST_API
#else
#define KYT_HOST_API __attribute__((visibility("default")))
#endif
