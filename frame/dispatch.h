/// dispatch.h: how a request finds its handler.
#ifndef KESTRUNE_FRAME_DISPATCH_H_
#define KESTRUNE_FRAME_DISPATCH_H_

#include <cstdint>

/// A handler in the short call form. The three pointers are the host's, passed through as they came; what they mean
/// belongs to the request. The module lock is held. Returns 1 for success, 0 for failure.
using ShortHandler = int32_t (*)(void* pArg1, void* pArg2, void* pArg3);

/// A handler in the long call form, which gets the operation and the request name too. No row of this module's uses it;
/// it is for handlers that serve several requests.
using LongHandler = int32_t (*)(uint8_t op, const char* request, void* pArg1, void* pArg2, void* pArg3);

/// Bits of tagSPHANDLER::ulCallForm. A row with neither is passed over; the short form goes first.
inline constexpr uint64_t CALL_FORM_SHORT = 1;
inline constexpr uint64_t CALL_FORM_LONG = 2;

/// One row of a request table; a row of zeros ends the table.
struct tagSPHANDLER {
  uint64_t ulOpMask;       ///< operations answered, SP_OP_... as bits; the low 8 bits count
  const char* pszRequest;  ///< request name, compared exactly
  union Handler {
    ShortHandler shortForm;
    LongHandler longForm;
  } pfnHandler;
  uint64_t ulCallForm;  ///< CALL_FORM_...
};

/// Calls the first row of `table` that answers the request and returns its result; 0 when there is none. A null request
/// finds no row.
int32_t Dispatch(const tagSPHANDLER* table, uint8_t op, const char* request, void* pArg1, void* pArg2, void* pArg3);

#endif  // KESTRUNE_FRAME_DISPATCH_H_
