/// selstore.h: start and stop of SEL support: the hardware-access module, the sensor ID table and the resource manager,
/// all up or all down.
#ifndef KESTRUNE_SEL_SELSTORE_H_
#define KESTRUNE_SEL_SELSTORE_H_

#include <cstdint>

/// 1 while the hardware-access module is initialised by this module. Guarded by the module lock.
extern uint32_t gmEnable;

/// Brings SEL support up. Returns 1, or 0 with everything taken down again.
int InitSELLog();

/// Takes SEL support down; harmless when it is down.
void UninitSELLog();

#endif  // KESTRUNE_SEL_SELSTORE_H_
