// What a shared library shows.
#pragma once

#define QRD_EXPORT __attribute__((visibility("default")))
