/* The program around foreign_client.cpp. */
#include "moving_picture.h"

#include <stdio.h>

void UseTheLibrary(void);

int main(void)
{
    UseTheLibrary();
    printf("%d expectations do not hold\n", FailedExpectations());
    return FailedExpectations() != 0;
}
