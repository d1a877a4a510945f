#pragma once

#include <string_view>

#include "see/RecordWriter.h"

/** Where a record holds something that the library does not write there; nothing when all is well. */
std::optional<Damage> findDriverDamage(std::string_view bytes);

/** Shows a record of the stability driver, also as far as it goes when bytes are missing. */
void showDriverRecord(std::string_view bytes, RecordWriter& writer);
