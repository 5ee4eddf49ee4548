#include "probe/request.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace probe {
namespace {

struct KnownRequest {
  uint8_t operation;
  std::string_view name;
  Kind kind;
};

constexpr std::array<KnownRequest, 15> KNOWN{{{SP_OP_GET, SP_GBLPROPERTY, Kind::SETTINGS},
                                              {SP_OP_SET, SP_GBLPROPERTY, Kind::SETTINGS},
                                              {SP_OP_GET, SP_CONFIGGROUPS, Kind::GROUPS},
                                              {SP_OP_GET, SP_CONFIGTYPE, Kind::TYPES},
                                              {SP_OP_GET, SP_PROPERTY, Kind::PROPERTY},
                                              {SP_OP_SET, SP_PROPERTY, Kind::WRITE},
                                              {SP_OP_GET, SP_CONFIGITEM, Kind::ITEMS},
                                              {SP_OP_GET, SP_CONFIGITEMEX, Kind::RANGE},
                                              {SP_OP_SET, SP_CONFIGITEM, Kind::UNSUPPORTED},
                                              {SP_OP_GET, "SP_SENSORS", Kind::UNSUPPORTED},
                                              {SP_OP_SET, "SP_RESET", Kind::UNSUPPORTED},
                                              {SP_OP_SET, "SP_THRESHOLD", Kind::UNSUPPORTED},
                                              {SP_OP_GET, "SP_SENSORGROUPS", Kind::UNSUPPORTED},
                                              {SP_OP_SET, "SP_NOTIFY", Kind::UNSUPPORTED},
                                              {SP_OP_SET, "SP_ASSET", Kind::UNSUPPORTED}}};

}  // namespace

uint64_t Request::Log() const {
  if (identifier == nullptr) return 0;
  if (identifier->dwIDVType == IDV_CONFIGGROUP) return identifier->id.group.wConfigGroupID;
  if (identifier->dwIDVType != IDV_CONFIGTYPE) return 0;
  const uint64_t id = identifier->id.type.dwConfigTypeID;
  return id == CONFIG_TYPE_LOG ? id | uint64_t{identifier->id.type.dwIndex} << 32 : id;
}

Request ReadRequest(uint32_t operation, const char* name, void* pArg1, void* pArg2, void* pArg3) {
  Request request;
  request.operation = operation & 0xFF;
  request.name = name;
  if (name == nullptr) return request;
  const auto fits = [&](const KnownRequest& known) {
    return known.name == name && (known.operation & operation & 0xFF) != 0;
  };
  if (const auto* known = std::find_if(KNOWN.begin(), KNOWN.end(), fits); known != KNOWN.end()) {
    request.kind = known->kind;
  }
  if (request.kind == Kind::SETTINGS) request.settings = pArg1;
  if (request.kind == Kind::GROUPS || request.kind == Kind::TYPES) {
    request.count = static_cast<uint32_t*>(pArg1);
    request.array = pArg2;
    request.recordSize = request.kind == Kind::GROUPS ? sizeof(tagCONFIGGROUP) : 1;
  } else if (request.HasIdentifier()) {
    request.identifier = static_cast<const tagIDV*>(pArg1);
    request.array = pArg3;
    request.recordSize = sizeof(tagCONFIGITEM);
    if (request.kind == Kind::RANGE) {
      request.range = static_cast<tagITEMRANGE*>(pArg2);
      request.count = request.range == nullptr ? nullptr : &request.range->dwCount;
    } else {
      request.count = static_cast<uint32_t*>(pArg2);
    }
  }
  return request;
}

std::string Describe(const Request& request) {
  std::string text = request.operation == SP_OP_GET   ? "get "
                     : request.operation == SP_OP_SET ? "set "
                                                      : "operation " + std::to_string(request.operation) + " ";
  text += request.name == nullptr ? "null" : request.name;
  if (const uint64_t log = request.Log(); log != 0) {
    std::array<char, 48> name{};
    const auto index = static_cast<unsigned int>(log >> 32);
    snprintf(name.data(), name.size(), index == 0 ? " of 0x%02X" : " of 0x%02X number %u", static_cast<uint32_t>(log),
             index);
    text += name.data();
  }
  return text;
}

}  // namespace probe
