/// sensortypes.cpp: names of the sensor types.

#include "translate/tableindex.h"
#include "translate/tables.h"

// clang-format off
constexpr tagSENSORTYPE_NAME g_aSensorTypeName[] = {
    {0x01, "Temperature"},
    {0x02, "Voltage"},
    {0x03, "Current"},
    {0x05, "Chassis Intrusion"},
    {0x04, "Fan"},
    {0x06, "Platform Security Violation Attempt"},
    {0x07, "Processor"},
    {0x08, "Power Supply"},
    {0x09, "Power Unit"},
    {0x0A, "Cooling Device"},
    {0x0B, "Other Unit-based Sensor"},
    {0x0C, "Memory"},
    {0x0D, "Drive Slot(Bay)"},
    {0x0E, "POST Memory Resize"},
    {0x0F, "POST Error"},
    {0x10, "Event Logging Disabled"},
    {0x11, "Watchdog 1"},
    {0x12, "System Event"},
    {0x13, "Critical Interrupt"},
    {0x14, "Button / Switch"},
    {0x15, "Module / Board"},
    {0x16, "Microcontroller / Coprocessor"},
    {0x17, "Add-in Card"},
    {0x18, "Chassis"},
    {0x19, "Chip Set"},
    {0x1A, "Other FRU"},
    {0x1B, "Cable / Interconnect"},
    {0x1C, "Terminator"},
    {0x1D, "System Boot / Restart Initiated"},
    {0x1E, "Boot Error"},
    {0x1F, "OS Boot"},
    {0x20, "OS Stop / Shutdown"},
    {0x21, "Slot / Connector"},
    {0x22, "System ACPI Power State"},
    {0x23, "Watchdog 2"},
    {0x24, "Platform Alert"},
    {0x25, "Entity Presence"},
    {0x26, "Monitor ASIC / IC"},
    {0x27, "Lan"},
    {0x28, "Management Subsystem Health"},
    {0x29, "Battery"},
    {0x2A, "Session Audit"},
    {0x2B, "Version Change"},
    {0x2C, "FRU State"},
};
// clang-format on

constexpr uint64_t g_ulSensorTypeNameCount = sizeof(g_aSensorTypeName) / sizeof(g_aSensorTypeName[0]);

static_assert(g_ulSensorTypeNameCount == 44);
static_assert(LongestText(g_aSensorTypeName, &tagSENSORTYPE_NAME::szName) == 35);
static_assert(CountRows(g_aSensorTypeName, [](const auto& row) { return row.szName[0] == '\0'; }) == 0);

std::string_view FindSensorTypeName(uint8_t sensorType) {
  static constexpr auto INDEX =
      IndexRows<256>(g_aSensorTypeName, &tagSENSORTYPE_NAME::szName, [](const auto& row) { return row.bySensorType; });
  return INDEX.Find(g_aSensorTypeName, sensorType, [](const auto&) { return true; });
}
