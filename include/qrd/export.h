// What a shared library shows.
#pragma once

// In front of what is public.
#define QRD_EXPORT __attribute__((visibility("default")))
