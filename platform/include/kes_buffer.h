#pragma once

// The buffer library (libkesbuff.so), as far as zarn uses it. Every call gives 0 for success and
// otherwise a code whose meaning is the library's. All memory belongs to the caller.

#ifdef __cplusplus
extern "C" {
#endif

// Hands over a setting. Command 0: how buffers held too long are recorded, four words (16 bytes),
// of which the first switches the recording off (0) or on (1) and the second is the number of
// records wanted.
int kesBuffCfg(unsigned command, void* setting, unsigned size);

// Asks for information. Type 0, without input: the records of the buffers held too long, 224 bytes
// each. `outSize` is the size of `out` at the call and the number of bytes written after it.
int kesBuffGetInfo(unsigned type, void* in, unsigned inSize, void* out, unsigned* outSize);

#ifdef __cplusplus
}
#endif
