#pragma once

/** Marks a declaration as part of the interface that libwardline.so exports. */
#define WARDLINE_EXPORT __attribute__((visibility("default")))
