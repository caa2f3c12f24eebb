#include "crypt/crypt.h"

#include "system_seam.h"

unsigned char qapi::cryptRandByte()
{
    unsigned char byte = 0;
    System().random_bytes(&byte, sizeof byte);
    return byte;
}
