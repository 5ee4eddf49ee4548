/// request.h: the arguments of SPConfig, seen as what they mean: which request it is, which log it names, how many
/// records fit and where they go. Nothing here reads further than the module would.
#ifndef KESTRUNE_PROBE_REQUEST_H_
#define KESTRUNE_PROBE_REQUEST_H_

#include <cstdint>
#include <string>

#include "kestrune/kestrune.h"

namespace probe {

enum class Kind {
  UNKNOWN,      ///< no request that the module knows with this operation
  UNSUPPORTED,  ///< known, and always answered 0
  SETTINGS,
  GROUPS,
  TYPES,
  PROPERTY,
  WRITE,  ///< SP_PROPERTY set
  ITEMS,
  RANGE
};

struct Request {
  Kind kind = Kind::UNKNOWN;
  const char* name = nullptr;
  uint32_t operation = 0;
  const void* settings = nullptr;      ///< the word of SETTINGS
  const tagIDV* identifier = nullptr;  ///< where the request has one
  uint32_t* count = nullptr;           ///< capacity in, count out; that of the range for RANGE
  tagITEMRANGE* range = nullptr;       ///< RANGE
  void* array = nullptr;
  size_t recordSize = 0;  ///< of the array's records

  bool HasIdentifier() const { return kind >= Kind::PROPERTY; }
  bool HasCount() const { return kind >= Kind::GROUPS; }
  /// Whether it is answered with items that become the host's.
  bool HasItems() const { return kind == Kind::PROPERTY || kind == Kind::ITEMS || kind == Kind::RANGE; }
  /// Whether it is one of those that are asked twice.
  bool IsList() const { return HasCount() && kind != Kind::WRITE; }
  tagCONFIGITEM* Items() const { return static_cast<tagCONFIGITEM*>(array); }
  /// The log that it names: its ID, and with CONFIG_TYPE_LOG the index in the upper half. 0 for none.
  uint64_t Log() const;
};

Request ReadRequest(uint32_t operation, const char* name, void* pArg1, void* pArg2, void* pArg3);

/// The request in words, such as "get SP_CONFIGITEM of 0xFA".
std::string Describe(const Request& request);

}  // namespace probe

#endif  // KESTRUNE_PROBE_REQUEST_H_
