/* A host written in C against the installed headers and libraries. */
#include <stdio.h>
#include <string.h>

#include <Tavik_PKI_Crypto_UI.h>
#include <tavik_pki.h>

int main(void)
{
    int failures = 0;
    char *caption = TavikPKIUIGetString(1);
    if (!caption || strcmp(caption, "\xe6\xad\xa3\xe5\x9c\xa8\xe7\x99\xbb\xe5\xbd\x95") != 0) {
        fprintf(stderr, "caption 1 wrong\n");
        ++failures;
    }
    TavikPKICryptoFreeMemory(caption);
    if (TavikPKIUIGetString(9) != NULL) {
        fprintf(stderr, "caption 9 exists\n");
        ++failures;
    }
    if (TavikPKIUIDisplayCRL(NULL, NULL, 3) != 0) {
        fprintf(stderr, "DisplayCRL did something\n");
        ++failures;
    }
    char *pwd = NULL;
    if (TavikPKIUIGetPassword(NULL, "msg", NULL) != -1) {
        fprintf(stderr, "GetPassword accepted a null output\n");
        ++failures;
    }
    if (getVerifyTime(NULL, 0, NULL, &pwd) != 0) {
        fprintf(stderr, "getVerifyTime accepted an empty path\n");
        ++failures;
    }
    printf("%d passed, %d failed\n", failures ? 0 : 1, failures ? 1 : 0);
    return failures ? 1 : 0;
}
