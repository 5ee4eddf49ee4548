/* A host in C, with the public header alone: loads the module, reads a log through it, stops it, and sees it leave the
 * process. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kestrune/kestrune.h"

void Output(int level, const char* format, ...);
int GeneralOSSupportChecking(void);
int GetOSDist(void);
int gmInitialize(void);
int gmUninitialize(void);
int gmGetIPMIInfo(void* info);
int gmGetProperty(const char* name, uint32_t* size, char* buffer);
int gmSELEnumEntry(uint32_t* count);
int gmGetIPMIEntry(void* entry);
int gmEnterMutex(uint32_t timeout);
int gmExitMutex(void);
int gmExecSensorValue(uint32_t sensor, const char* operation, int count, tagVARIANT* in, tagVARIANT* out);

void Output(int level, const char* format, ...) { (void)level, (void)format; }
int GeneralOSSupportChecking(void) { return 1; }
int GetOSDist(void) { return 0; }
int gmInitialize(void) { return 0; }
int gmUninitialize(void) { return 0; }
int gmGetIPMIInfo(void* info) { return info == NULL; }
int gmGetProperty(const char* name, uint32_t* size, char* buffer) { return (void)name, (void)size, buffer == NULL; }
int gmSELEnumEntry(uint32_t* count) { return count == NULL; }
int gmGetIPMIEntry(void* entry) { return entry == NULL; }
int gmEnterMutex(uint32_t timeout) { return (int)timeout; }
int gmExitMutex(void) { return 0; }
int gmExecSensorValue(uint32_t sensor, const char* operation, int count, tagVARIANT* in, tagVARIANT* out) {
  return (void)sensor, (void)operation, (void)in, (void)out, count;
}

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
