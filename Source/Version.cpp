#include <PellixProvidersSDK/Version.h>

const double PellixProvidersSDKVersionNumber = 1.0;

const unsigned char PellixProvidersSDKVersionString[] =
    "@(#)PROGRAM:PellixProvidersSDK  PROJECT:PellixProvidersSDK-1\n";
