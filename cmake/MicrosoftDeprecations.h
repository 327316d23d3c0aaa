// Included before everything else by the preset msvc-abi-check: the functions of the C run time that Microsoft's
// headers call deprecated, which Visual Studio makes an error of (C4996).
#pragma once

#pragma GCC system_header // as the headers that it adds to: it has no warnings of its own

#include <direct.h>
#include <io.h>
#include <process.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>

#define ZV_DEPRECATED(function) extern "C" [[deprecated("C4996")]] decltype(function) function

// Those with a safe twin (_CRT_SECURE_NO_WARNINGS).
ZV_DEPRECATED(_ctime64);
ZV_DEPRECATED(_ecvt);
ZV_DEPRECATED(_fcvt);
ZV_DEPRECATED(_gcvt);
ZV_DEPRECATED(_gmtime64);
ZV_DEPRECATED(_i64toa);
ZV_DEPRECATED(_i64tow);
ZV_DEPRECATED(_itoa);
ZV_DEPRECATED(_itow);
ZV_DEPRECATED(_localtime64);
ZV_DEPRECATED(_ltoa);
ZV_DEPRECATED(_ltow);
ZV_DEPRECATED(_makepath);
ZV_DEPRECATED(_mktemp);
ZV_DEPRECATED(_open);
ZV_DEPRECATED(_putenv);
ZV_DEPRECATED(_searchenv);
ZV_DEPRECATED(_snprintf);
ZV_DEPRECATED(_snwprintf);
ZV_DEPRECATED(_sopen);
ZV_DEPRECATED(_splitpath);
ZV_DEPRECATED(_strdate);
ZV_DEPRECATED(_strerror);
ZV_DEPRECATED(_strlwr);
ZV_DEPRECATED(_strnset);
ZV_DEPRECATED(_strset);
ZV_DEPRECATED(_strtime);
ZV_DEPRECATED(_strupr);
ZV_DEPRECATED(_ui64toa);
ZV_DEPRECATED(_ui64tow);
ZV_DEPRECATED(_ultoa);
ZV_DEPRECATED(_ultow);
ZV_DEPRECATED(_umask);
ZV_DEPRECATED(_vsnprintf);
ZV_DEPRECATED(_vsnwprintf);
ZV_DEPRECATED(_wasctime);
ZV_DEPRECATED(_wcserror);
ZV_DEPRECATED(_wcslwr);
ZV_DEPRECATED(_wcsnset);
ZV_DEPRECATED(_wcsset);
ZV_DEPRECATED(_wcsupr);
ZV_DEPRECATED(_wctime);
ZV_DEPRECATED(_wctime64);
ZV_DEPRECATED(_wfopen);
ZV_DEPRECATED(_wfreopen);
ZV_DEPRECATED(_wgetenv);
ZV_DEPRECATED(_wmakepath);
ZV_DEPRECATED(_wmktemp);
ZV_DEPRECATED(_wopen);
ZV_DEPRECATED(_wsearchenv);
ZV_DEPRECATED(_wsopen);
ZV_DEPRECATED(_wsplitpath);
ZV_DEPRECATED(_wstrdate);
ZV_DEPRECATED(_wstrtime);
ZV_DEPRECATED(asctime);
ZV_DEPRECATED(ctime);
ZV_DEPRECATED(fopen);
ZV_DEPRECATED(freopen);
ZV_DEPRECATED(fscanf);
ZV_DEPRECATED(fwscanf);
ZV_DEPRECATED(getenv);
ZV_DEPRECATED(gmtime);
ZV_DEPRECATED(localtime);
ZV_DEPRECATED(mbsrtowcs);
ZV_DEPRECATED(mbstowcs);
ZV_DEPRECATED(scanf);
ZV_DEPRECATED(sprintf);
ZV_DEPRECATED(sscanf);
ZV_DEPRECATED(strcat);
ZV_DEPRECATED(strcpy);
ZV_DEPRECATED(strerror);
ZV_DEPRECATED(strncat);
ZV_DEPRECATED(strncpy);
ZV_DEPRECATED(strtok);
ZV_DEPRECATED(swscanf);
ZV_DEPRECATED(tmpfile);
ZV_DEPRECATED(tmpnam);
ZV_DEPRECATED(vfscanf);
ZV_DEPRECATED(vfwscanf);
ZV_DEPRECATED(vscanf);
ZV_DEPRECATED(vsprintf);
ZV_DEPRECATED(vsscanf);
ZV_DEPRECATED(vswscanf);
ZV_DEPRECATED(vwscanf);
ZV_DEPRECATED(wcrtomb);
ZV_DEPRECATED(wcscat);
ZV_DEPRECATED(wcscpy);
ZV_DEPRECATED(wcsncat);
ZV_DEPRECATED(wcsncpy);
ZV_DEPRECATED(wcsrtombs);
ZV_DEPRECATED(wcstok);
ZV_DEPRECATED(wcstombs);
ZV_DEPRECATED(wctomb);
ZV_DEPRECATED(wscanf);

// Those that Microsoft spells with an underscore in front (_CRT_NONSTDC_NO_WARNINGS).
ZV_DEPRECATED(access);
ZV_DEPRECATED(chdir);
ZV_DEPRECATED(chmod);
ZV_DEPRECATED(chsize);
ZV_DEPRECATED(close);
ZV_DEPRECATED(creat);
ZV_DEPRECATED(cwait);
ZV_DEPRECATED(dup);
ZV_DEPRECATED(dup2);
ZV_DEPRECATED(eof);
ZV_DEPRECATED(execl);
ZV_DEPRECATED(execv);
ZV_DEPRECATED(fcloseall);
ZV_DEPRECATED(fdopen);
ZV_DEPRECATED(filelength);
ZV_DEPRECATED(fileno);
ZV_DEPRECATED(getcwd);
ZV_DEPRECATED(getpid);
ZV_DEPRECATED(isatty);
ZV_DEPRECATED(itoa);
ZV_DEPRECATED(lseek);
ZV_DEPRECATED(ltoa);
ZV_DEPRECATED(memccpy);
ZV_DEPRECATED(memicmp);
ZV_DEPRECATED(mkdir);
ZV_DEPRECATED(mktemp);
ZV_DEPRECATED(open);
ZV_DEPRECATED(putenv);
ZV_DEPRECATED(read);
ZV_DEPRECATED(rmdir);
ZV_DEPRECATED(rmtmp);
ZV_DEPRECATED(setmode);
ZV_DEPRECATED(sopen);
ZV_DEPRECATED(spawnl);
ZV_DEPRECATED(spawnv);
ZV_DEPRECATED(strdup);
ZV_DEPRECATED(stricmp);
ZV_DEPRECATED(strlwr);
ZV_DEPRECATED(strnicmp);
ZV_DEPRECATED(strnset);
ZV_DEPRECATED(strrev);
ZV_DEPRECATED(strset);
ZV_DEPRECATED(strupr);
ZV_DEPRECATED(swab);
ZV_DEPRECATED(tell);
ZV_DEPRECATED(tempnam);
ZV_DEPRECATED(tzset);
ZV_DEPRECATED(ultoa);
ZV_DEPRECATED(umask);
ZV_DEPRECATED(unlink);
ZV_DEPRECATED(wcsdup);
ZV_DEPRECATED(wcsicmp);
ZV_DEPRECATED(wcslwr);
ZV_DEPRECATED(wcsnicmp);
ZV_DEPRECATED(wcsnset);
ZV_DEPRECATED(wcsrev);
ZV_DEPRECATED(wcsset);
ZV_DEPRECATED(wcsupr);
ZV_DEPRECATED(write);

#undef ZV_DEPRECATED
