#include "kes_buffer.h"

#include "board/device/device_codes.h"

using zarn::board::kNoDevice;

int kesBuffCfg(unsigned /*command*/, void* /*setting*/, unsigned /*size*/) {
    return kNoDevice;
}

int kesBuffGetInfo(unsigned /*type*/, void* /*in*/, unsigned /*inSize*/, void* /*out*/,
                   unsigned* /*outSize*/) {
    return kNoDevice;
}
