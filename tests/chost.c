/* A host in C, with the public header and the functions that the header tells a host to export, and nothing else. It
 * loads the module, starts it, asks it, stops it, and sees it leave the process. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kestrune/kestrune.h"

/* This machine is supported and has no controller. */
void Output(int level, const char* format, ...) { (void)level, (void)format; }
int GeneralOSSupportChecking(void) { return 1; }
#define ANSWERS_ZERO(name) \
  int name(void) { return 0; }
ANSWERS_ZERO(GetOSDist)
ANSWERS_ZERO(gmInitialize)
ANSWERS_ZERO(gmUninitialize)
ANSWERS_ZERO(gmGetIPMIInfo)
ANSWERS_ZERO(gmGetProperty)
ANSWERS_ZERO(gmSELEnumEntry)
ANSWERS_ZERO(gmGetIPMIEntry)
ANSWERS_ZERO(gmEnterMutex)
ANSWERS_ZERO(gmExitMutex)
ANSWERS_ZERO(gmExecSensorValue)

#define REQUIRE(condition)                                               \
  do {                                                                   \
    if (!(condition)) {                                                  \
      fprintf(stderr, "chost.c:%d: not so: %s\n", __LINE__, #condition); \
      return EXIT_FAILURE;                                               \
    }                                                                    \
  } while (0)

/* Finds the entry point `name` and assigns it to `variable`, which has the type that the header declares. */
#define ENTRY_POINT(variable, name)                                                   \
  __typeof__(&name) variable = __extension__(__typeof__(&name)) dlsym(module, #name); \
  REQUIRE(variable != NULL)

int main(int argc, char** argv) {
  REQUIRE(argc == 2 && getenv("KESTRUNE_PRIVATE_MACHINE") != NULL);
  void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  REQUIRE(module != NULL);
  ENTRY_POINT(initialize, SPInitialize);
  ENTRY_POINT(uninitialize, SPUninitialize);
  ENTRY_POINT(config, SPConfig);
  ENTRY_POINT(version, kestrune_version);
  REQUIRE(strcmp(*version, "kestrune__version " KESTRUNE_VERSION) == 0);

  uint32_t out = 0, count = 7;
  tagIDV messages = {.dwIDVType = IDV_CONFIGTYPE, .id.type = {.dwConfigTypeID = LOG_MESSAGES}};
  REQUIRE(initialize(NULL, &out) == 1 && out == 2);
  REQUIRE(config(SP_OP_GET, SP_CONFIGITEM, &messages, &count, NULL) == 1 && count == 0);
  REQUIRE(uninitialize() == 1);
  REQUIRE(dlclose(module) == 0 && dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == NULL);
  return EXIT_SUCCESS;
}
