/* A host in C, with the public header alone: loads the module, reads a log through it, stops it, and sees it leave the
 * process. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kestrune/kestrune.h"

/* What the module wants of its host. Without a controller none of the others is ever called. */
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

static void* Find(void* module, const char* name, void* function, size_t size) {
  void* symbol = dlsym(module, name);
  memcpy(function, &symbol, size);
  return symbol;
}

#define REQUIRE(condition)                                               \
  do {                                                                   \
    if (!(condition)) {                                                  \
      fprintf(stderr, "chost.c:%d: not so: %s\n", __LINE__, #condition); \
      return EXIT_FAILURE;                                               \
    }                                                                    \
  } while (0)

int main(int argc, char** argv) {
  int32_t (*initialize)(const uint64_t*, uint32_t*);
  int32_t (*uninitialize)(void);
  int32_t (*config)(uint32_t, const char*, void*, void*, void*);
  REQUIRE(argc == 2 && getenv("KESTRUNE_PRIVATE_MACHINE") != NULL);
  FILE* log = fopen("/var/log/messages", "wx");
  REQUIRE(log != NULL);
  fputs("Jan  5 10:00:01 host su: one\nJan  5 10:00:02 host su: two\n", log);
  REQUIRE(fclose(log) == 0);

  for (int round = 0; round < 2; ++round) {
    void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    REQUIRE(module != NULL);
    REQUIRE(Find(module, "SPInitialize", &initialize, sizeof(initialize)));
    REQUIRE(Find(module, "SPUninitialize", &uninitialize, sizeof(uninitialize)));
    REQUIRE(Find(module, "SPConfig", &config, sizeof(config)));
    const char* version = dlsym(module, "kestrune_version");
    REQUIRE(version != NULL && strcmp(version, "kestrune__version 2.01") == 0);

    uint32_t out = 0, count = 7;
    tagIDV messages = {.dwIDVType = IDV_CONFIGTYPE, .id.type = {.dwConfigTypeID = LOG_MESSAGES}};
    REQUIRE(initialize(NULL, &out) == 1 && out == 2);
    REQUIRE(config(SP_OP_GET, SP_CONFIGITEM, &messages, &count, NULL) == 1 && count == 2);
    REQUIRE(uninitialize() == 1);
    REQUIRE(dlclose(module) == 0);
    REQUIRE(dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == NULL);
  }
  return EXIT_SUCCESS;
}
