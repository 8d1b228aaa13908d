#pragma once

// The device-management library (libtovi.so), as far as zarn uses it. Every call gives 0 for
// success and otherwise a code whose meaning is the library's. Buffers belong to the caller. Words
// in the buffers are little-endian. The calls may be made from any thread.

#ifdef __cplusplus
extern "C" {
#endif

// Stores the number of devices in `count`.
int tovi_get_device_count(int* count);

// Stores the ids of the first `count` devices in `devices`, which holds at least that many.
int tovi_list_device(int* devices, int count);

// Reads what the two commands name. `buffer` may carry the key of the question and takes the
// answer; `size` is its size in bytes at the call and the size of the answer after it.
int tovi_get_device_info(unsigned device, unsigned mainCommand, unsigned subCommand, void* buffer,
                         unsigned* size);

// Writes the record of `size` bytes in `buffer` to what the two commands name.
int tovi_set_device_info(unsigned device, unsigned mainCommand, unsigned subCommand,
                         const void* buffer, unsigned size);

#ifdef __cplusplus
}
#endif
