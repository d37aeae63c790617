/* A host without Qt that loads the UI library at run time, asks for a
 * password (answered by e2e-hosts.sh under Xvfb), unloads the library and
 * exits: the library's own GUI thread must neither crash nor hold it up.
 * usage: dlopen-host LIBRARY */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>

typedef int32_t (*GetPassword)(void *, const char *, char **);
typedef void (*FreeMemory)(void *);

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: dlopen-host LIBRARY\n");
        return 2;
    }
    void *library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    GetPassword getPassword = (GetPassword)dlsym(library, "TavikPKIUIGetPassword");
    FreeMemory freeMemory = (FreeMemory)dlsym(library, "TavikPKICryptoFreeMemory");
    if (!getPassword || !freeMemory)
        return 1;
    char *pwd = NULL;
    const int32_t rc = getPassword(NULL, "dlopen", &pwd);
    printf("password: %d %s\n", (int)rc, rc == 1 ? pwd : "");
    if (rc != -18)
        freeMemory(pwd);
    dlclose(library);
    printf("unloaded\n");
    fflush(stdout);
    return 0;
}
