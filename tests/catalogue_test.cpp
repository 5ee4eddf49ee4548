/// How requests find their handlers, and the catalogue of logs: groups, types, identifiers.
#include <gtest/gtest.h>

#include "tests/support/module.h"

namespace {

class CatalogueTest : public ModuleTest {};

TEST_F(CatalogueTest, EveryRequestNameAndOperation) {
  // What a request without any argument says tells which handler got it.
  const auto handler = [](const std::string& name, const std::string& in) {
    return Lines{"2048 Dbg (kestrune): " + in + name + "\n", Err(name, "Parameter error!")};
  };
  const struct {
    const char* request;
    Lines get, set;
  } rows[] = {
      {"SP_GBLPROPERTY",
       {Dbg("OnGetGblProperty", "in OnGetGblProperty")},
       {Dbg("OnSetGblProperty", "in OnSetGblProperty")}},
      {"SP_PROPERTY", handler("OnGetProperty", "in "), handler("OnGetProperty", "in ")},
      {"SP_CONFIGGROUPS", handler("OnGetConfigGroups", "in "), {}},
      {"SP_CONFIGTYPE", handler("OnGetConfigType", "In "), {}},
      {"SP_CONFIGITEM", handler("OnGetConfigItem", "in "), {}},
      {"SP_CONFIGITEMEX", handler("OnGetConfigItemEx", "in "), {}},
  };
  const HostModule& module = Start();
  for (const uint32_t op : {0U, 1U, 2U, 3U, 4U, 0xFCU, 0xFFU, 0x100U, 0x101U, 0xFFFFFF02U}) {
    const auto expect = [&](const char* request, const Lines& said) {
      SCOPED_TRACE(testing::Message() << (request != nullptr ? request : "(null)") << " " << op);
      EXPECT_EQ(module.SPConfig(op, request, nullptr, nullptr, nullptr), 0);
      EXPECT_EQ(TakeLines(), said);
      EXPECT_EQ(module.DefSPConfigHandler(static_cast<uint8_t>(op), request, nullptr, nullptr, nullptr), 0);
      EXPECT_EQ(TakeLines(), said);
    };
    for (const auto& row : rows) expect(row.request, (op & 1) != 0 ? row.get : (op & 2) != 0 ? row.set : Lines());
    for (const char* request : {"SP_SENSORS", "SP_RESET", "SP_THRESHOLD", "SP_SENSORGROUPS", "SP_NOTIFY", "SP_ASSET",
                                "SP_property", "SP_PROPERTY ", "SP_PROPERT", "", static_cast<const char*>(nullptr)}) {
      expect(request, {});
    }
  }
  EXPECT_EQ(module.SPUninitialize(), 1);
  uint64_t word = 0;
  EXPECT_EQ(module.DefSPConfigHandler(SP_OP_GET, SP_GBLPROPERTY, &word, nullptr, nullptr), 1) << "needs no start";
}

TEST_F(CatalogueTest, GroupRecords) {
  machine::WriteFile("/var/log/messages", "");
  machine::WriteFile("/var/log/secure", "");
  const HostModule& module = Start();
  const std::vector<uint16_t> expected = {0, 0x0C, 0, 0, 0, 0, 0, 0xF9, 0, 0x0C, 5, 0, 0, 0xFA, 0, 0x0C, 5, 0};
  const std::vector<uint16_t> untouched(expected.size(), 0xC7C7);
  for (const uint32_t capacity : {0U, 2U, 3U, 99U}) {
    std::vector<uint16_t> words = untouched;
    uint32_t count = capacity;
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGGROUPS, &count, nullptr, nullptr), 1);
    EXPECT_EQ(count, 3U);
    TakeLines();
    count = capacity;
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGGROUPS, &count, words.data(), nullptr), capacity < 3 ? 0 : 1);
    EXPECT_EQ(count, capacity < 3 ? capacity : 3);
    EXPECT_EQ(words, capacity < 3 ? untouched : expected);
    EXPECT_EQ(TakeLines().back(), capacity < 3 ? Err("OnGetConfigGroups", "The buffer isn't enough!")
                                               : "2048 Dbg (kestrune): in OnGetConfigGroups\n");
  }
}

TEST_F(CatalogueTest, TypeListBytes) {
  machine::WriteFile("/var/log/messages", "");
  machine::WriteFile("/var/log/cron", "");
  const HostModule& module = Start();
  const std::vector<uint64_t> untouched(6, 0xC7C7C7C7C7C7C7C7);  // 48 bytes
  std::vector<uint64_t> list = untouched;
  const auto members = reinterpret_cast<uint64_t>(&list[5]);
  const std::vector<uint64_t> expected = {0xC7C7C7C700000002, 0x0000000100F80000, members,
                                          0x0000000100FA0000, members + 4,        0x000000FA000000F8};
  for (const uint32_t capacity : {0U, 47U, 48U}) {
    uint32_t size = capacity;
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGTYPE, &size, nullptr, nullptr), 1);
    EXPECT_EQ(size, 48U);
    TakeLines();
    size = capacity;
    EXPECT_EQ(module.SPConfig(SP_OP_GET, SP_CONFIGTYPE, &size, list.data(), nullptr), capacity < 48 ? 0 : 1);
    EXPECT_EQ(size, 48U);
    EXPECT_EQ(list, capacity < 48 ? untouched : expected);
    EXPECT_EQ(TakeLines(), Lines{"2048 Dbg (kestrune): In OnGetConfigType\n"});
  }
}

TEST_F(CatalogueTest, EveryIdentifier) {
  const HostModule& module = Start();  // no log is there; identifiers name them all the same
  const auto hex = [](uint32_t number) {
    std::ostringstream text;
    text << "0x" << std::hex << number;
    return text.str();
  };
  for (const bool typeForm : {false, true}) {
    for (const uint32_t id :
         {0U, 4U, 5U, 6U, 0xBU, 0xCU, 0xDU, 0xF7U, 0xF8U, 0xF9U, 0xFAU, 0xFBU, 0xFCU, 0xFDU, 0x100F9U, 0xF90000U}) {
      for (const uint32_t index : {0U, 1U, 5U, 6U, 0x10001U}) {
        if (!typeForm && (id | index) > 0xFFFF) continue;
        SCOPED_TRACE(testing::Message() << (typeForm ? "type " : "group ") << id << " index " << index);
        const tagIDV identifier = typeForm ? Type(id, index) : Group(id, index);
        const bool log = id >= LOG_APPLICATION && id <= LOG_SEL;
        const bool all = typeForm && id == CONFIG_TYPE_LOG, parent = !typeForm && id == CONFIG_GROUP_LOGS;
        const std::string unknown =
            Err("ParseIDV", std::string("Invalid config ") + (typeForm ? "type" : "group") + " ID: " + hex(id));
        Reply reply = Send(module, {SP_PROPERTY, identifier, 77});
        if (log || (all && index <= 5)) {
          EXPECT_EQ(reply.Head(), (std::array<uint32_t, 4>{1, all && index == 0 ? 5U : 1U, 0, 0}));
        } else {
          EXPECT_EQ(reply.Head(), (std::array<uint32_t, 4>{0, 77, 0, 0}));
          EXPECT_EQ(reply.messages.back(),
                    !all && !parent
                        ? unknown
                        : Err("OnGetProperty", "Doesn't support ID " + hex(id) + " index " + std::to_string(index)));
        }
        for (const bool ranged : {false, true}) {
          reply = ranged ? QueryRange(module, identifier, 3, 9) : Query(module, identifier);
          EXPECT_EQ(reply.result, log ? 1 : 0);
          if (!log) {
            EXPECT_EQ(
                reply.messages.back(),
                !all && !parent ? unknown : Err(ranged ? "GetLogConfigItemEx" : "GetLogConfigItem", "Unknow ID!"));
          }
        }
      }
    }
  }
  for (const uint32_t form : {0U, 3U, 6U, 0x10004U}) {
    tagIDV identifier = Type(LOG_MESSAGES);
    identifier.dwIDVType = form;
    EXPECT_EQ(Query(module, identifier).messages.back(), Err("ParseIDV", "Invalid IDV type ID: " + hex(form)));
  }
}

}  // namespace
