// SPDX-License-Identifier: MIT
/* A program that does next to nothing; what it is linked to makes the difference. */
#ifdef WITH_LIBRARY
#include <Tolvane_SystemApi.h>
#endif

int main(void)
{
#ifdef WITH_LIBRARY
    SystemApi_Process_IsAdmin();
#endif
    return 0;
}
