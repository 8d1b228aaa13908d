#include "tovi_device.h"

#include "board/device/device_codes.h"

using zarn::board::kNoDevice;

int tovi_get_device_count(int* /*count*/) {
    return kNoDevice;
}

int tovi_list_device(int* /*devices*/, int /*count*/) {
    return kNoDevice;
}

int tovi_get_device_info(unsigned /*device*/, unsigned /*mainCommand*/, unsigned /*subCommand*/,
                         void* /*buffer*/, unsigned* /*size*/) {
    return kNoDevice;
}

int tovi_set_device_info(unsigned /*device*/, unsigned /*mainCommand*/, unsigned /*subCommand*/,
                         const void* /*buffer*/, unsigned /*size*/) {
    return kNoDevice;
}
