/// eventwords.cpp: the standard's tables of sensor types, generic and sensor-specific events. An event's severity
/// stands beside its words. Thresholds and the type 07h bring a grade of the standard. Of all others, those are marked
/// that tell that something failed, will fail or was lost, or works less well than it should; where nothing is marked,
/// the event tells a state, and is information.
#include "standin/output/eventwords.h"

#include <array>
#include <span>

namespace standin {
namespace {

constexpr Severity NON_CRITICAL = Severity::NON_CRITICAL;
constexpr Severity FAILURE = Severity::FAILURE;
constexpr Severity CRITICAL = Severity::CRITICAL;
constexpr Severity NON_RECOVERABLE = Severity::NON_RECOVERABLE;

constexpr std::array<std::string_view, 0x2D> SENSOR_TYPES{
    "",
    "Temperature",
    "Voltage",
    "Current",
    "Fan",
    "Physical Security (Chassis Intrusion)",
    "Platform Security Violation Attempt",
    "Processor",
    "Power Supply",
    "Power Unit",
    "Cooling Device",
    "Other Units-based Sensor",
    "Memory",
    "Drive Slot (Bay)",
    "POST Memory Resize",
    "System Firmware Progress",
    "Event Logging Disabled",
    "Watchdog 1",
    "System Event",
    "Critical Interrupt",
    "Button / Switch",
    "Module / Board",
    "Microcontroller / Coprocessor",
    "Add-in Card",
    "Chassis",
    "Chip Set",
    "Other FRU",
    "Cable / Interconnect",
    "Terminator",
    "System Boot / Restart Initiated",
    "Boot Error",
    "Base OS Boot / Installation Status",
    "OS Stop / Shutdown",
    "Slot / Connector",
    "System ACPI Power State",
    "Watchdog 2",
    "Platform Alert",
    "Entity Presence",
    "Monitor ASIC / IC",
    "LAN",
    "Management Subsystem Health",
    "Battery",
    "Session Audit",
    "Version Change",
    "FRU State",
};

// In each table an event's offset is its place.

constexpr EventWords THRESHOLD[] = {
    {"Lower Non-critical - going low", NON_CRITICAL},
    {"Lower Non-critical - going high", NON_CRITICAL},
    {"Lower Critical - going low", CRITICAL},
    {"Lower Critical - going high", CRITICAL},
    {"Lower Non-recoverable - going low", NON_RECOVERABLE},
    {"Lower Non-recoverable - going high", NON_RECOVERABLE},
    {"Upper Non-critical - going low", NON_CRITICAL},
    {"Upper Non-critical - going high", NON_CRITICAL},
    {"Upper Critical - going low", CRITICAL},
    {"Upper Critical - going high", CRITICAL},
    {"Upper Non-recoverable - going low", NON_RECOVERABLE},
    {"Upper Non-recoverable - going high", NON_RECOVERABLE},
};
constexpr EventWords USAGE[] = {{"Transition to Idle"}, {"Transition to Active"}, {"Transition to Busy"}};
constexpr EventWords STATE[] = {{"State Deasserted"}, {"State Asserted"}};
constexpr EventWords PREDICTIVE_FAILURE[] = {{"Predictive Failure deasserted"},
                                             {"Predictive Failure asserted", FAILURE}};
constexpr EventWords LIMIT[] = {{"Limit Not Exceeded"}, {"Limit Exceeded", FAILURE}};
constexpr EventWords PERFORMANCE[] = {{"Performance Met"}, {"Performance Lags", NON_CRITICAL}};
constexpr EventWords SEVERITY[] = {
    {"Transition to OK"},
    {"Transition to Non-Critical from OK", NON_CRITICAL},
    {"Transition to Critical from less severe", CRITICAL},
    {"Transition to Non-recoverable from less severe", NON_RECOVERABLE},
    {"Transition to Non-Critical from more severe", NON_CRITICAL},
    {"Transition to Critical from Non-recoverable", CRITICAL},
    {"Transition to Non-recoverable", NON_RECOVERABLE},
    {"Monitor"},
    {"Informational"},
};
constexpr EventWords PRESENCE[] = {{"Device Removed / Device Absent"}, {"Device Inserted / Device Present"}};
constexpr EventWords ENABLED[] = {{"Device Disabled"}, {"Device Enabled"}};
constexpr EventWords AVAILABILITY[] = {
    {"Transition to Running"},
    {"Transition to In Test"},
    {"Transition to Power Off"},
    {"Transition to On Line"},
    {"Transition to Off Line"},
    {"Transition to Off Duty"},
    {"Transition to Degraded", NON_CRITICAL},
    {"Transition to Power Save"},
    {"Install Error", FAILURE},
};
constexpr EventWords REDUNDANCY[] = {
    {"Fully Redundant"},
    {"Redundancy Lost", FAILURE},
    {"Redundancy Degraded", NON_CRITICAL},
    {"Non-redundant: Sufficient Resources from Redundant", NON_CRITICAL},
    {"Non-redundant: Sufficient Resources from Insufficient Resources", NON_CRITICAL},
    {"Non-redundant: Insufficient Resources", FAILURE},
    {"Redundancy Degraded from Fully Redundant", NON_CRITICAL},
    {"Redundancy Degraded from Non-redundant", NON_CRITICAL},
};
constexpr EventWords DEVICE_POWER[] = {{"D0 Power State"}, {"D1 Power State"}, {"D2 Power State"}, {"D3 Power State"}};

/// The event types from 01h on.
constexpr std::span<const EventWords> EVENT_TYPES[] = {THRESHOLD, USAGE,        STATE,      PREDICTIVE_FAILURE,
                                                       LIMIT,     PERFORMANCE,  SEVERITY,   PRESENCE,
                                                       ENABLED,   AVAILABILITY, REDUNDANCY, DEVICE_POWER};

constexpr EventWords CHASSIS_INTRUSION[] = {
    {"General Chassis Intrusion", NON_CRITICAL},
    {"Drive Bay intrusion", NON_CRITICAL},
    {"I/O Card area intrusion", NON_CRITICAL},
    {"Processor area intrusion", NON_CRITICAL},
    {"LAN Leash Lost", NON_CRITICAL},
    {"Unauthorized dock", NON_CRITICAL},
    {"FAN area intrusion", NON_CRITICAL},
};
constexpr EventWords SECURITY_VIOLATION[] = {
    {"Secure Mode Violation attempt", NON_CRITICAL},
    {"Pre-boot Password Violation - user password", NON_CRITICAL},
    {"Pre-boot Password Violation attempt - setup password", NON_CRITICAL},
    {"Pre-boot Password Violation - network boot password", NON_CRITICAL},
    {"Other pre-boot Password Violation", NON_CRITICAL},
    {"Out-of-band Access Password Violation", NON_CRITICAL},
};
constexpr EventWords PROCESSOR[] = {
    {"IERR", FAILURE},
    {"Thermal Trip", FAILURE},
    {"FRB1 / BIST failure", FAILURE},
    {"FRB2 / Hang in POST failure", FAILURE},
    {"FRB3 / Processor Startup / Initialization failure", FAILURE},
    {"Configuration Error", FAILURE},
    {"SM BIOS Uncorrectable CPU-complex Error", FAILURE},
    {"Processor Presence detected"},
    {"Processor disabled", NON_CRITICAL},
    {"Terminator Presence Detected"},
    {"Processor Automatically Throttled", NON_CRITICAL},
    {"Machine Check Exception (Uncorrectable)", FAILURE},
    {"Correctable Machine Check Error", NON_CRITICAL},
};
constexpr EventWords POWER_SUPPLY[] = {
    {"Presence detected"},
    {"Power Supply Failure detected", FAILURE},
    {"Predictive Failure", FAILURE},
    {"Power Supply input lost (AC/DC)", FAILURE},
    {"Power Supply input lost or out-of-range", FAILURE},
    {"Power Supply input out-of-range, but present", FAILURE},
    {"Configuration error", FAILURE},
    {"Power Supply Inactive (in standby state)"},
};
constexpr EventWords POWER_UNIT[] = {
    {"Power Off / Power Down"},
    {"Power Cycle"},
    {"240VA Power Down", FAILURE},
    {"Interlock Power Down", NON_CRITICAL},
    {"AC lost / Power input lost", FAILURE},
    {"Soft Power Control Failure", FAILURE},
    {"Power Unit Failure detected", FAILURE},
    {"Predictive Failure", FAILURE},
};
constexpr EventWords MEMORY[] = {
    {"Correctable ECC / other correctable memory error", NON_CRITICAL},
    {"Uncorrectable ECC / other uncorrectable memory error", FAILURE},
    {"Parity", FAILURE},
    {"Memory Scrub Failed (stuck bit)", FAILURE},
    {"Memory Device Disabled", NON_CRITICAL},
    {"Correctable ECC / other correctable memory error logging limit reached", NON_CRITICAL},
    {"Presence detected"},
    {"Configuration error", FAILURE},
    {"Spare"},
    {"Memory Automatically Throttled", NON_CRITICAL},
    {"Critical Overtemperature", CRITICAL},
};
constexpr EventWords DRIVE_SLOT[] = {
    {"Drive Presence"},
    {"Drive Fault", FAILURE},
    {"Predictive Failure", FAILURE},
    {"Hot Spare"},
    {"Consistency Check / Parity Check in progress"},
    {"In Critical Array", CRITICAL},
    {"In Failed Array", FAILURE},
    {"Rebuild/Remap in progress"},
    {"Rebuild/Remap Aborted (was not completed normally)", FAILURE},
};
constexpr EventWords FIRMWARE[] = {
    {"System Firmware Error (POST Error)", FAILURE},
    {"System Firmware Hang", FAILURE},
    {"System Firmware Progress"},
};
constexpr EventWords LOGGING[] = {
    {"Correctable Memory Error Logging Disabled", NON_CRITICAL},
    {"Event Type Logging Disabled"},
    {"Log Area Reset/Cleared"},
    {"All Event Logging Disabled", NON_CRITICAL},
    {"SEL Full", NON_CRITICAL},
    {"SEL Almost Full", NON_CRITICAL},
    {"Correctable Machine Check Error Logging Disabled", NON_CRITICAL},
};
constexpr EventWords WATCHDOG_1[] = {
    {"BIOS Watchdog Reset", FAILURE},
    {"OS Watchdog Reset", FAILURE},
    {"OS Watchdog Shut Down", FAILURE},
    {"OS Watchdog Power Down", FAILURE},
    {"OS Watchdog Power Cycle", FAILURE},
    {"OS Watchdog NMI / Diagnostic Interrupt", FAILURE},
    {"OS Watchdog Expired, status only", FAILURE},
    {"OS Watchdog pre-timeout Interrupt, non-NMI", FAILURE},
};
constexpr EventWords SYSTEM_EVENT[] = {
    {"System Reconfigured"},
    {"OEM System Boot Event"},
    {"Undetermined system hardware failure", FAILURE},
    {"Entry added to Auxiliary Log"},
    {"PEF Action"},
    {"Timestamp Clock Synch"},
};
constexpr EventWords CRITICAL_INTERRUPT[] = {
    {"Front Panel NMI / Diagnostic Interrupt"},
    {"Bus Timeout", FAILURE},
    {"I/O channel check NMI", FAILURE},
    {"Software NMI", FAILURE},
    {"PCI PERR", FAILURE},
    {"PCI SERR", FAILURE},
    {"EISA Fail Safe Timeout", FAILURE},
    {"Bus Correctable Error", NON_CRITICAL},
    {"Bus Uncorrectable Error", FAILURE},
    {"Fatal NMI (port 61h, bit 7)", FAILURE},
    {"Bus Fatal Error", FAILURE},
    {"Bus Degraded", NON_CRITICAL},
};
constexpr EventWords BUTTON[] = {
    {"Power Button pressed"}, {"Sleep Button pressed"},       {"Reset Button pressed"},
    {"FRU latch open"},       {"FRU service request button"},
};
constexpr EventWords CHIP_SET[] = {{"Soft Power Control Failure", FAILURE}, {"Thermal Trip", FAILURE}};
constexpr EventWords CABLE[] = {
    {"Cable/Interconnect is connected"},
    {"Configuration Error - Incorrect cable connected / Incorrect interconnection", FAILURE},
};
constexpr EventWords SYSTEM_BOOT[] = {
    {"Initiated by power up"},
    {"Initiated by hard reset"},
    {"Initiated by warm reset"},
    {"User requested PXE boot"},
    {"Automatic boot to diagnostic"},
    {"OS / run-time software initiated hard reset"},
    {"OS / run-time software initiated warm reset"},
    {"System Restart"},
};
constexpr EventWords BOOT_ERROR[] = {
    {"No bootable media", FAILURE},
    {"Non-bootable diskette left in drive", FAILURE},
    {"PXE Server not found", FAILURE},
    {"Invalid boot sector", FAILURE},
    {"Timeout waiting for user selection of boot source", FAILURE},
};
constexpr EventWords OS_BOOT[] = {
    {"A: boot completed"},
    {"C: boot completed"},
    {"PXE boot completed"},
    {"Diagnostic boot completed"},
    {"CD-ROM boot completed"},
    {"ROM boot completed"},
    {"Boot completed - boot device not specified"},
    {"Base OS/Hypervisor Installation started"},
    {"Base OS/Hypervisor Installation completed"},
    {"Base OS/Hypervisor Installation aborted", NON_CRITICAL},
    {"Base OS/Hypervisor Installation failed", FAILURE},
};
constexpr EventWords OS_STOP[] = {
    {"Critical stop during OS load / initialization", CRITICAL},
    {"Run-time Critical Stop", CRITICAL},
    {"OS Graceful Stop"},
    {"OS Graceful Shutdown"},
    {"Soft Shutdown initiated by PEF"},
    {"Agent Not Responding", NON_CRITICAL},
};
constexpr EventWords SLOT[] = {
    {"Fault Status asserted", FAILURE},
    {"Identify Status asserted"},
    {"Slot / Connector Device installed/attached"},
    {"Slot / Connector Ready for Device Installation"},
    {"Slot / Connector Ready for Device Removal"},
    {"Slot Power is Off"},
    {"Slot / Connector Device Removal Request"},
    {"Interlock asserted"},
    {"Slot is Disabled"},
    {"Slot holds spare device"},
};
constexpr EventWords ACPI[] = {
    {"S0 / G0 (working)"},
    {"S1 (sleeping with system h/w & processor context maintained)"},
    {"S2 (sleeping, processor context lost)"},
    {"S3 (sleeping, processor & h/w context lost, memory retained)"},
    {"S4 (non-volatile sleep / suspend-to disk)"},
    {"S5 / G2 (soft-off)"},
    {"S4 / S5 soft-off, particular S4 / S5 state cannot be determined"},
    {"G3 / Mechanical Off"},
    {"Sleeping in an S1, S2, or S3 state"},
    {"G1 sleeping"},
    {"S5 entered by override"},
    {"Legacy ON state"},
    {"Legacy OFF state"},
    {},
    {"Unknown"},
};
constexpr EventWords WATCHDOG_2[] = {
    {"Timer expired, status only", FAILURE},
    {"Hard Reset", FAILURE},
    {"Power Down", FAILURE},
    {"Power Cycle", FAILURE},
    {},
    {},
    {},
    {},
    {"Timer interrupt", FAILURE},
};
constexpr EventWords ALERT[] = {
    {"Platform generated page"},
    {"Platform generated LAN alert"},
    {"Platform Event Trap generated"},
    {"Platform generated SNMP trap, OEM format"},
};
constexpr EventWords ENTITY[] = {{"Entity Present"}, {"Entity Absent"}, {"Entity Disabled"}};
constexpr EventWords NETWORK[] = {{"LAN Heartbeat Lost", FAILURE}, {"LAN Heartbeat"}};
constexpr EventWords MANAGEMENT[] = {
    {"Sensor access degraded or unavailable", NON_CRITICAL},
    {"Controller access degraded or unavailable", NON_CRITICAL},
    {"Management controller off-line", FAILURE},
    {"Management controller unavailable", FAILURE},
    {"Sensor failure", FAILURE},
    {"FRU failure", FAILURE},
};
constexpr EventWords BATTERY[] = {
    {"Battery low (predictive failure)", FAILURE}, {"Battery failed", FAILURE}, {"Battery presence detected"}};
constexpr EventWords SESSION[] = {
    {"Session Activated"},
    {"Session Deactivated"},
    {"Invalid Username or Password", NON_CRITICAL},
    {"Invalid password disable", NON_CRITICAL},
};
constexpr EventWords VERSION[] = {
    {"Hardware change detected with associated Entity"},
    {"Firmware or software change detected with associated Entity"},
    {"Hardware incompatibility detected with associated Entity", FAILURE},
    {"Firmware or software incompatibility detected with associated Entity", FAILURE},
    {"Entity is of an invalid or unsupported hardware version", FAILURE},
    {"Entity contains an invalid or unsupported firmware or software version", FAILURE},
    {"Hardware Change detected with associated Entity was successful"},
    {"Software or F/W Change detected with associated Entity was successful"},
};
constexpr EventWords FRU[] = {
    {"FRU Not Installed"},
    {"FRU Inactive"},
    {"FRU Activation Requested"},
    {"FRU Activation In Progress"},
    {"FRU Active"},
    {"FRU Deactivation Requested"},
    {"FRU Deactivation In Progress"},
    {"FRU Communication Lost", FAILURE},
};

/// The events that a sensor type has of its own.
std::span<const EventWords> SensorSpecific(uint8_t sensorType) {
  switch (sensorType) {
    case 0x05:
      return CHASSIS_INTRUSION;
    case 0x06:
      return SECURITY_VIOLATION;
    case 0x07:
      return PROCESSOR;
    case 0x08:
      return POWER_SUPPLY;
    case 0x09:
      return POWER_UNIT;
    case 0x0C:
      return MEMORY;
    case 0x0D:
      return DRIVE_SLOT;
    case 0x0F:
      return FIRMWARE;
    case 0x10:
      return LOGGING;
    case 0x11:
      return WATCHDOG_1;
    case 0x12:
      return SYSTEM_EVENT;
    case 0x13:
      return CRITICAL_INTERRUPT;
    case 0x14:
      return BUTTON;
    case 0x19:
      return CHIP_SET;
    case 0x1B:
      return CABLE;
    case 0x1D:
      return SYSTEM_BOOT;
    case 0x1E:
      return BOOT_ERROR;
    case 0x1F:
      return OS_BOOT;
    case 0x20:
      return OS_STOP;
    case 0x21:
      return SLOT;
    case 0x22:
      return ACPI;
    case 0x23:
      return WATCHDOG_2;
    case 0x24:
      return ALERT;
    case 0x25:
      return ENTITY;
    case 0x27:
      return NETWORK;
    case 0x28:
      return MANAGEMENT;
    case 0x29:
      return BATTERY;
    case 0x2A:
      return SESSION;
    case 0x2B:
      return VERSION;
    case 0x2C:
      return FRU;
    default:
      return {};
  }
}

}  // namespace

std::string_view SeverityName(Severity severity) {
  switch (severity) {
    case Severity::NON_RECOVERABLE:
      return "non-recoverable";
    case Severity::CRITICAL:
      return "critical";
    case Severity::FAILURE:
      return "failure";
    case Severity::NON_CRITICAL:
      return "non-critical";
    default:
      return "information";
  }
}

std::string_view SensorTypeName(uint8_t sensorType) {
  return sensorType < SENSOR_TYPES.size() ? SENSOR_TYPES.at(sensorType) : std::string_view();
}

EventWords FindEventWords(uint8_t eventType, uint8_t sensorType, uint8_t offset) {
  std::span<const EventWords> events;
  if (eventType == EVENT_TYPE_SENSOR_SPECIFIC) {
    events = SensorSpecific(sensorType);
  } else if (eventType >= EVENT_TYPE_THRESHOLD && eventType <= std::size(EVENT_TYPES)) {
    events = EVENT_TYPES[eventType - EVENT_TYPE_THRESHOLD];
  }
  return offset < events.size() ? events[offset] : EventWords();
}

}  // namespace standin
