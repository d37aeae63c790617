/* A host written in C against the installed headers and libraries; the
 * entries' contracts are the library's own tests. */
#include <stdio.h>
#include <string.h>

#include <Tavik_PKI_Crypto_UI.h>
#include <tavik_pki.h>

int main(void)
{
    char *caption = TavikPKIUIGetString(1);
    char *when = NULL;
    const int ok = caption &&
                   !strcmp(caption, "\xe6\xad\xa3\xe5\x9c\xa8\xe7\x99\xbb\xe5\xbd\x95") &&
                   getVerifyTime(NULL, 0, NULL, &when) == 0;
    TavikPKICryptoFreeMemory(caption);
    printf("%d passed, %d failed\n", ok, !ok);
    return ok ? 0 : 1;
}
