// The numbers of the module's resources, for the resource compiler and for the code: nothing but defines.
#pragma once

#define KZR_TYPELIB 1

#define KZR_SCRIPT_APPID 103
#define KZR_SCRIPT_CERTIFICATE 104
#define KZR_SCRIPT_CRYPTO 105
#define KZR_SCRIPT_DEVICEMGR 106
#define KZR_SCRIPT_UTIL 107

#define KZR_STRING_CONTROL 1
#define KZR_STRING_PAGE 2

#define KZR_BITMAP_TOOLBOX 1

#define KZR_DIALOG_ABOUT 1
#define KZR_DIALOG_PAGE 200
