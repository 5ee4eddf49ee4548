/// kestrune.h: all that a host needs to load kestrune and talk to it.
///
/// kestrune is an event-log provider: a shared library that a server-management host loads with dlopen. The host calls
/// SPInitialize once, SPConfig for every request and SPUninitialize at the end, from any of its threads; the module
/// serialises them with one lock of its own, so no request may call back into the module.
///
/// The host process must export, under plain C names: Output, GetOSDist, GeneralOSSupportChecking and the functions of
/// its hardware-access module, gmInitialize, gmUninitialize, gmGetIPMIInfo, gmGetProperty, gmSELEnumEntry,
/// gmGetIPMIEntry, gmEnterMutex, gmExecSensorValue and gmExitMutex.
///
/// All records are little-endian with the layouts asserted below. The header serves C (11) and C++ (11 and later).
#ifndef KESTRUNE_KESTRUNE_H_
#define KESTRUNE_KESTRUNE_H_

#include <assert.h>
#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#define KESTRUNE_EXPORT __attribute__((visibility("default")))

// ---- Requests ------------------------------------------------------------------------------------------------------

/// Operations of SPConfig; only the low 8 bits of the operation count.
enum { SP_OP_GET = 1, SP_OP_SET = 2 };

/// The settings word: get and set. pArg1: the 8-byte word.
#define SP_GBLPROPERTY "SP_GBLPROPERTY"
/// The log groups: get. pArg1: uint32_t, capacity in records in, count out. pArg2: tagCONFIGGROUP array, or null for
/// the count alone.
#define SP_CONFIGGROUPS "SP_CONFIGGROUPS"
/// The log types: get. pArg1: uint32_t, capacity in bytes in, size out. pArg2: buffer for a config-type list, or null
/// for the size alone.
#define SP_CONFIGTYPE "SP_CONFIGTYPE"
/// The record count of one log, or of all five: get. pArg1: tagIDV. pArg2: uint32_t, capacity in items in, count out.
/// pArg3: tagCONFIGITEM array, or null for the count alone. Set: a message for the system log; the same arguments, with
/// CE_LEVEL and CE_TEXT filled in.
#define SP_PROPERTY "SP_PROPERTY"
/// The records of one log, newest first: get. Arguments as for SP_PROPERTY.
#define SP_CONFIGITEM "SP_CONFIGITEM"
/// A range of the records of one log, newest first: get. As SP_CONFIGITEM, with a tagITEMRANGE as pArg2.
#define SP_CONFIGITEMEX "SP_CONFIGITEMEX"

// ---- The catalogue of logs -----------------------------------------------------------------------------------------

/// Each log has one ID, used alike as config group and config type.
enum {
  CONFIG_TYPE_LOG = 5,       ///< config type of any log; its instances 1 to 5 are the five logs below, in order
  CONFIG_GROUP_LOGS = 0x0C,  ///< parent group of the log groups
  LOG_APPLICATION = 0xF8,    ///< the application logs listed in AppLogList, merged
  LOG_SECURE = 0xF9,         ///< /var/log/secure
  LOG_MESSAGES = 0xFA,       ///< /var/log/messages
  LOG_AGENT = 0xFB,          ///< /var/log/agent.log
  LOG_SEL = 0xFC             ///< System Event Log: the controller's entries and those of the SEL log file
};

/// One config group, as SP_CONFIGGROUPS delivers it: the parent group first, then the log groups in ID order.
struct tagCONFIGGROUP {
  uint16_t wGroupIndex;        ///< 0
  uint16_t wGroupID;           ///< the group's ID
  uint16_t wParentIndex;       ///< 0
  uint16_t wParentGroupID;     ///< CONFIG_GROUP_LOGS for a log group, 0 for the parent itself
  uint32_t dwGroupConfigType;  ///< CONFIG_TYPE_LOG for a log group, 0 for the parent itself
};

/// First part of the buffer of SP_CONFIGTYPE: this header, dwTypeCount tagCONFIGTYPEENTRY, then the member lists.
struct tagCONFIGTYPELIST {
  uint32_t dwTypeCount;  ///< number of entries that follow
  uint32_t dwReserved;   ///< not written by the module
};

/// One config type of the list.
struct tagCONFIGTYPEENTRY {
  uint32_t dwTypeIdentifier;  ///< the type ID in the upper 16 bits, 0 in the lower
  uint32_t dwMemberCount;     ///< number of members: 1
  uint32_t* pMembers;         ///< the members (the type's own ID), inside the same buffer
};

/// Forms of the item identifier.
enum { IDV_CONFIGGROUP = 4, IDV_CONFIGTYPE = 5 };

/// The item identifier, pArg1 of SP_PROPERTY, SP_CONFIGITEM and SP_CONFIGITEMEX. Of the group form the module reads the
/// first 12 bytes alone, so a host may pass no more than these.
struct tagIDV {
  uint32_t dwIDVType;   ///< IDV_CONFIGGROUP or IDV_CONFIGTYPE
  uint32_t dwReserved;  ///< not read
  union {
    struct {
      uint16_t wIndex;          ///< instance index; not used by the log requests
      uint16_t wConfigGroupID;  ///< LOG_APPLICATION to LOG_SEL, or CONFIG_GROUP_LOGS
    } group;                    ///< IDV_CONFIGGROUP
    struct {
      uint32_t dwIndex;         ///< with CONFIG_TYPE_LOG: 0 for all logs, 1 to 5 for one
      uint32_t dwConfigTypeID;  ///< LOG_APPLICATION to LOG_SEL, or CONFIG_TYPE_LOG
    } type;                     ///< IDV_CONFIGTYPE
  } id;
};

// ---- Values --------------------------------------------------------------------------------------------------------

/// A NUL-terminated wide string made with array new; it has no length prefix.
typedef wchar_t* BSTR;

/// Type codes of a variant, and the status that stands for a string which could not be allocated.
enum { VT_EMPTY = 0, VT_I2 = 2, VT_I4 = 3, VT_BSTR = 8, VT_ERROR = 10 };
#define KESTRUNE_OUT_OF_MEMORY 0x8007000EU

/// One value: a type code and the value word it describes.
struct tagVARIANT {
  uint16_t vt;             ///< VT_...
  uint16_t wReserved1[3];  ///< copied, otherwise not interpreted
  union {
    int64_t llVal;    ///< VT_I4: a signed 64-bit integer
    BSTR bstrVal;     ///< VT_BSTR: a string that the variant owns, or null
    uint64_t ullVal;  ///< VT_ERROR: the status in the low 32 bits, 0 in the upper; also the word as it stands
    int16_t iVal;     ///< VT_I2: a 16-bit integer in the low bits
  } value;
  uint64_t ullReserved2[2];  ///< copied, otherwise not interpreted
};

#ifdef __cplusplus
/// Releases what `variant` owns and makes it VT_EMPTY: the body of VariantClear, inline so that a host can destroy
/// entries without a symbol of the module. Only a string's value word is touched.
inline void ReleaseVariant(tagVARIANT& variant) noexcept {
  if (variant.vt == VT_BSTR) {
    delete[] variant.value.bstrVal;
    variant.value.bstrVal = nullptr;
  }
  variant.vt = VT_EMPTY;
}
#endif

/// Entry identifiers: which value of an item an entry holds.
enum {
  CE_RECORDS = 1,  ///< VT_I4: number of records in the log (property replies)
  CE_LEVEL = 2,    ///< VT_I4: level of a message to be written: 1 note, 2 warning, 3 critical, others plain
  CE_TEXT = 3,     ///< VT_BSTR: text of a message to be written
  CE_DATE = 4,     ///< VT_BSTR: month abbreviation, blank, day in two places
  CE_TIME = 5,     ///< VT_BSTR: hours:minutes:seconds
  CE_SOURCE = 6,   ///< VT_BSTR: source tag of a text log line
  CE_HOST = 8,     ///< VT_BSTR: host name of a text log line
  CE_MESSAGE = 9,  ///< VT_BSTR: message of a text log line, description of a SEL entry
  CE_SENSOR = 10,  ///< VT_BSTR: sensor name of a SEL entry
  CE_ORIGIN = 11   ///< VT_I4: 0 for a SEL entry of the controller, 1 for one of the SEL log file
};

/// Attributes of an entry. A property write considers entries with a bit of CE_ATTRIBUTE_WRITABLE alone.
enum { CE_ATTRIBUTE_READONLY = 1, CE_ATTRIBUTE_WRITABLE = 0x0A };

/// One named value of an item.
struct tagCONFIGENTRY {
  uint32_t dwEntryID;          ///< CE_...
  struct tagVARIANT varValue;  ///< the value; an owned string goes with the entry
  uint32_t dwAttributes;       ///< CE_ATTRIBUTE_...
  uint8_t bFlag;               ///< 0 in every reply
#ifdef __cplusplus
  tagCONFIGENTRY() noexcept : dwEntryID(0), varValue(), dwAttributes(0), bFlag(0) {}
  ~tagCONFIGENTRY() { ReleaseVariant(varValue); }
  tagCONFIGENTRY(const tagCONFIGENTRY&) = delete;
  tagCONFIGENTRY& operator=(const tagCONFIGENTRY&) = delete;
#endif
};

/// One item of a reply: a log's properties, or one record of a log. The host allocates the array of items; the module
/// fills it only when the whole reply succeeds.
struct tagCONFIGITEM {
  uint32_t dwIndex;                 ///< log number 1 to 5 (properties), or the record's number
  uint32_t dwID;                    ///< CONFIG_TYPE_LOG (properties), or the log's ID
  uint32_t dwEntryCount;            ///< elements of pEntries: 3 (properties) or 5
  struct tagCONFIGENTRY* pEntries;  ///< made by the module with array new; the host's from the reply on, to be freed
                                    ///< with array delete (of the same C++ runtime), which frees the strings too
};

/// The range of SP_CONFIGITEMEX, inclusive and counted from 1, the newest record first. In the SEL an end of 0 stands
/// for the last record only together with a begin of 0.
struct tagITEMRANGE {
  uint32_t dwBegin;     ///< in: first record (0 for the first). Out: the range's begin as the filter left it
  uint32_t dwEnd;       ///< in: last record (0 for the last). Out: the range's end as the filter left it
  uint32_t dwReserved;  ///< neither read nor written
  uint32_t dwCount;     ///< in: 0 to ask for the count, else capacity in items. Out: records in the range, or filled
};

#ifndef __cplusplus
typedef struct tagCONFIGGROUP tagCONFIGGROUP;
typedef struct tagCONFIGTYPELIST tagCONFIGTYPELIST;
typedef struct tagCONFIGTYPEENTRY tagCONFIGTYPEENTRY;
typedef struct tagIDV tagIDV;
typedef struct tagVARIANT tagVARIANT;
typedef struct tagCONFIGENTRY tagCONFIGENTRY;
typedef struct tagCONFIGITEM tagCONFIGITEM;
typedef struct tagITEMRANGE tagITEMRANGE;
#endif

static_assert(sizeof(wchar_t) == 4, "wide strings travel as 4-byte characters");
static_assert(sizeof(struct tagCONFIGGROUP) == 12, "tagCONFIGGROUP");
static_assert(offsetof(struct tagCONFIGGROUP, dwGroupConfigType) == 8, "tagCONFIGGROUP");
static_assert(sizeof(struct tagCONFIGTYPELIST) == 8, "tagCONFIGTYPELIST");
static_assert(sizeof(struct tagCONFIGTYPEENTRY) == 16, "tagCONFIGTYPEENTRY");
static_assert(offsetof(struct tagCONFIGTYPEENTRY, pMembers) == 8, "tagCONFIGTYPEENTRY");
static_assert(sizeof(struct tagIDV) == 16, "tagIDV");
static_assert(offsetof(struct tagIDV, id.group.wConfigGroupID) == 10, "tagIDV");
static_assert(offsetof(struct tagIDV, id.type.dwConfigTypeID) == 12, "tagIDV");
static_assert(sizeof(struct tagVARIANT) == 32, "tagVARIANT");
static_assert(offsetof(struct tagVARIANT, value) == 8, "tagVARIANT");
static_assert(offsetof(struct tagVARIANT, ullReserved2) == 16, "tagVARIANT");
static_assert(sizeof(struct tagCONFIGENTRY) == 48, "tagCONFIGENTRY");
static_assert(offsetof(struct tagCONFIGENTRY, varValue) == 8, "tagCONFIGENTRY");
static_assert(offsetof(struct tagCONFIGENTRY, dwAttributes) == 40, "tagCONFIGENTRY");
static_assert(offsetof(struct tagCONFIGENTRY, bFlag) == 44, "tagCONFIGENTRY");
static_assert(sizeof(struct tagCONFIGITEM) == 24, "tagCONFIGITEM");
static_assert(offsetof(struct tagCONFIGITEM, pEntries) == 16, "tagCONFIGITEM");
static_assert(sizeof(struct tagITEMRANGE) == 16, "tagITEMRANGE");
static_assert(offsetof(struct tagITEMRANGE, dwCount) == 12, "tagITEMRANGE");

// ---- Entry points --------------------------------------------------------------------------------------------------

#ifdef __cplusplus
extern "C" {
#endif

/// Starts the module: finds out which logs the machine has and starts the SEL store. `settings` (may be null: the
/// settings stay) points to the settings word: bit 0 the repeat-event flag, bits 32 to 63 the update interval. `out`
/// receives 2. Returns 1, also when the module was started already (nothing is changed then), or 0.
KESTRUNE_EXPORT int32_t SPInitialize(const uint64_t* settings, uint32_t* out);

/// Stops the module and removes its temporary files. Returns 1, or 0 when it was not started.
KESTRUNE_EXPORT int32_t SPUninitialize(void);

/// Answers one request. `op` is SP_OP_GET or SP_OP_SET; the three arguments are those named with each request above.
/// The host owns all that they point to; nothing of it is kept. Returns 1, or 0 for a failure, an unknown request or a
/// module that is not started.
KESTRUNE_EXPORT int32_t SPConfig(uint32_t op, const char* request, void* pArg1, void* pArg2, void* pArg3);

/// What SPConfig does, without its lock and without its test that the module is started.
KESTRUNE_EXPORT int32_t DefSPConfigHandler(uint8_t op, const char* request, void* pArg1, void* pArg2, void* pArg3);

/// Prints the controller's whole event log (65,535 entries at most) to standard output, for diagnosis. Waits for a
/// request that is running, so it must not be called from Output or a gm... function, which run inside one.
KESTRUNE_EXPORT void ShowBMCSELLogDebug(void);

// ---- Values and strings --------------------------------------------------------------------------------------------

/// Copies a variant; the copy owns a string of its own. What `destination` held is overwritten, not released. Returns
/// 0.
KESTRUNE_EXPORT int64_t VariantCopy(struct tagVARIANT* destination, const struct tagVARIANT* source);

/// Releases an owned string and makes the variant VT_EMPTY. Returns 0.
KESTRUNE_EXPORT int64_t VariantClear(struct tagVARIANT* variant);

/// Milliseconds since the system started, in steps of 1000.
KESTRUNE_EXPORT uint64_t GetTickCount(void);

/// Sleeps `milliseconds`, however often a signal interrupts it.
KESTRUNE_EXPORT void Sleep(uint32_t milliseconds);

/// Converts `source` to multibyte text in the current locale, at most `limit` bytes, unterminated when it fills them
/// all. A null or unconvertible source gives "null", for which `destination` needs 5 bytes. Returns `destination`.
KESTRUNE_EXPORT char* sprintwcs(char* destination, const wchar_t* source, uint32_t limit);

// ---- Data ----------------------------------------------------------------------------------------------------------

extern KESTRUNE_EXPORT const char kestrune_version[];  ///< name and version
extern KESTRUNE_EXPORT const char _file[];             ///< main source file, as the build records it
extern KESTRUNE_EXPORT const char _date[];             ///< date of the build
extern KESTRUNE_EXPORT const char _time[];             ///< time of the build

extern KESTRUNE_EXPORT uint64_t g_SPGlobal;          ///< the settings word
extern KESTRUNE_EXPORT uint32_t g_bRepeatEvent;      ///< its bit 0
extern KESTRUNE_EXPORT uint32_t g_uiUpdateInterval;  ///< its bits 32 to 63; 5000 until a word was given

extern KESTRUNE_EXPORT char AppLogList[256];  ///< the application log files that exist, separated by single blanks
extern KESTRUNE_EXPORT uint32_t selEnable;    ///< 1 while the SEL store is started

#ifdef __cplusplus
}  // extern "C"

/// A new wide string with the contents of `text`, to be freed with array delete, or null (also for a null text). The
/// multibyte form converts in the current locale; text that is invalid in it gives the empty string.
KESTRUNE_EXPORT BSTR SysAllocString(const wchar_t* text);
KESTRUNE_EXPORT BSTR SysAllocString(const char* text);
#endif

#endif  // KESTRUNE_KESTRUNE_H_
