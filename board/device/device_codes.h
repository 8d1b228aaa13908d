#pragma once

namespace zarn::board {

// What the calls of the simulated device libraries answer. 0 is success.
enum DeviceCode : int {
    kDeviceOk = 0,
    kNoDevice = 1,        // no such device; outside a virtual board there is none at all
    kUnknownCommand = 2,  // no such main command, sub command or type
    kWrongSize = 3,       // the size is not the one of the record
    kBadRecord = 4,       // a null buffer, or bytes of the record that must have another value
    kBadValue = 5,        // a field of the record is out of its range
    kNotStarted = 6,      // the bandwidth monitor is to be stopped but does not run
    kBusy = 7,            // the bandwidth monitor is to be started but runs
};

}  // namespace zarn::board
