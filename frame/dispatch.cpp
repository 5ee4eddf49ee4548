#include "frame/dispatch.h"

#include <string_view>

int32_t Dispatch(const tagSPHANDLER* table, uint8_t op, const char* request, void* pArg1, void* pArg2, void* pArg3) {
  if (request == nullptr) return 0;
  const std::string_view wanted = request;
  for (const tagSPHANDLER* row = table; row->pszRequest != nullptr && row->pfnHandler.shortForm != nullptr; ++row) {
    if (wanted != row->pszRequest || (row->ulOpMask & op) == 0) continue;
    if ((row->ulCallForm & CALL_FORM_SHORT) != 0) return row->pfnHandler.shortForm(pArg1, pArg2, pArg3);
    if ((row->ulCallForm & CALL_FORM_LONG) != 0) return row->pfnHandler.longForm(op, request, pArg1, pArg2, pArg3);
  }
  return 0;
}
