// The images of Merritt's method (mp.h). Nobody but the method itself writes them; tests look whether they were wiped.
#pragma once

#include "crypt/mp.h"

namespace qapi {

inline constexpr int MERRITT_IMAGES = UNITSIZE;            // one for each bit of a unit
inline constexpr int MERRITT_STORED_IMAGES = UNITSIZE - 1; // image 0 is the operand itself

extern unit mpdbuf[MERRITT_STORED_IMAGES][MAX_UNIT_PRECISION];     // images of the multiplicand
extern unit moduli_buf[MERRITT_STORED_IMAGES][MAX_UNIT_PRECISION]; // images of the modulus

extern const unit* moduli[MERRITT_IMAGES]; // null when no modulus is staged
extern unit msu_moduli[MERRITT_IMAGES];    // top unit of each image, at the precision of its staging
extern unit nmsu_moduli[MERRITT_IMAGES];   // the one below

} // namespace qapi

using qapi::MERRITT_IMAGES;
using qapi::MERRITT_STORED_IMAGES;
using qapi::moduli;
using qapi::moduli_buf;
using qapi::mpdbuf;
using qapi::msu_moduli;
using qapi::nmsu_moduli;
