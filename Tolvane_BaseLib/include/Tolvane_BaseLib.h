// SPDX-License-Identifier: MIT
/**
 * \file
 * Tolvane base library: character sets, tables of rows, text slicing, and time.
 *
 * Rules common to all routines:
 * - A bool result tells whether all that was asked for was done. No routine sets SystemApi's error state.
 * - A fixed text buffer holds 1024 characters, its ending null character included; the path splitter's
 *   file name holds 260 and its extension 64. What does not fit is never cut, because a shortened path
 *   would name another file: that output becomes empty and the result is false.
 * - Every text that is read may be null: the result is then false. Outputs must not overlap the texts read.
 * - Only the two memory routines allocate or release memory; the C library may do so, and read a file, the first
 *   time a time zone or a charset is used. No routine is interrupted by signals.
 * - All may be called from several threads at once, on different buffers.
 */
#ifndef TOLVANE_BASELIB_H
#define TOLVANE_BASELIB_H

#include <stddef.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#define BASELIB_EXPORT __attribute__((visibility("default")))

/* Sizes of the fixed buffers, in characters, the ending null character included. */
#define BASELIB_TEXT_SIZE 1024     /* any text, but for the next two */
#define BASELIB_FILE_NAME_SIZE 260 /* the path splitter's file name */
#define BASELIB_FILE_EXT_SIZE 64   /* the path splitter's extension */

#ifdef __cplusplus
extern "C"
{
#endif

/** A calendar date and time of day, broken down. */
typedef struct TOLVANE_LIBTIME
{
    int nYear;   /**< full year, not an offset from 1900 */
    int nMonth;  /**< 1 to 12 */
    int nDay;    /**< day of the month, 1 to 31 */
    int nHour;   /**< 0 to 23 */
    int nMinute; /**< 0 to 59 */
    int nSecond; /**< 0 to 60 */
} TOLVANE_LIBTIME;

/* ---------------------------------------------------------------------------------------------------
 * Character sets
 * ------------------------------------------------------------------------------------------------- */

/**
 * Turns wide text into UTF-8, strictly.
 *
 * \param[in]  lpszSource   the wide text, ended by a null character
 * \param[out] ptszDest     a buffer of 1024 bytes; receives the UTF-8 form and its ending null character
 * \param[in,out] pInt_Len  may be null. What it holds is not looked at; on success it receives the bytes
 *                          written, the ending null character not counted
 * \param[in]  lpszReserved not used; pass null
 * \return true, or false with an empty output (pInt_Len untouched) when a source or output is null, when
 *         the text holds a surrogate or a value above U+10FFFF, or when the result does not fit.
 */
BASELIB_EXPORT bool BaseLib_Charset_UnicodeToUTF(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len,
                                                 const char* lpszReserved);

/**
 * Turns wide text into the 8-bit form of the current LC_CTYPE locale.
 *
 * Where that locale cannot hold the text to the letter (a program that never called setlocale and a name
 * outside ASCII; a character that the locale would only paraphrase), the result is the text's UTF-8 form,
 * which is a file's native name.
 *
 * \param[in]  lpszSource   the wide text, ended by a null character
 * \param[out] ptszDest     a buffer of 1024 bytes; receives the 8-bit form and its ending null character
 * \param[in,out] pInt_Len  may be null. What it holds is not looked at; on success it receives the bytes
 *                          written, the ending null character not counted
 * \param[in]  lpszReserved not used; pass null
 * \return true, or false with an empty output (pInt_Len untouched) when a source or output is null, when
 *         neither the locale nor UTF-8 can hold the text, or when the result does not fit.
 */
BASELIB_EXPORT bool BaseLib_Charset_UnicodeToAnsi(const wchar_t* lpszSource, char* ptszDest, int* pInt_Len,
                                                  const char* lpszReserved);

/* ---------------------------------------------------------------------------------------------------
 * Tables of rows
 * ------------------------------------------------------------------------------------------------- */

/**
 * Makes a table of rows: an array of nRows pointers, each to bytes of its own, and one null pointer after
 * the last, so that the table also serves as a program's argument vector. Rows may change places within
 * their table; never release or resize one alone, for the rows of a large table lie in one block.
 *
 * \param[out] pppTable the address of the caller's table variable (a char** variable's address, say)
 * \param[in]  nRows    number of rows; 0 makes a table that holds only the ending null pointer
 * \param[in]  nRowSize bytes of each row, all zero at first. Bytes also where a row will hold wide text
 * \return true, or false with the caller's variable set to null when memory cannot be had (errno ENOMEM) or
 *         a number is negative; false and nothing else when pppTable is null. Give the table back with
 *         BaseLib_Memory_Free.
 */
BASELIB_EXPORT bool BaseLib_Memory_Malloc(void* pppTable, long long nRows, int nRowSize);

/**
 * Releases a table made by BaseLib_Memory_Malloc, every row included, and sets the caller's variable to
 * null.
 *
 * \param[in,out] pppTable the address of the caller's table variable; it, and the table, may be null
 * \param[in]     nRows    number of rows the table was made with. The ending null pointer is what ends the
 *                         release: a wrong number does no harm, a row set to null keeps those after it
 * \return true when a table was released. errno stays as it was.
 */
BASELIB_EXPORT bool BaseLib_Memory_Free(void* pppTable, long long nRows);

/* ---------------------------------------------------------------------------------------------------
 * Text slicing
 * ------------------------------------------------------------------------------------------------- */

/**
 * Splits a path into its folder, its last component and that component's extension.
 *
 * The folder is what stands before the last slash, without that slash: "/" for a file in the root, "." for
 * a bare name. A path that ends in a slash has an empty last component. The extension is what follows the
 * last dot of the last component; there is none for ".profile", ".", ".." and "name.".
 *
 * \param[in]  lpszPath      the path; null or empty gives empty outputs
 * \param[out] ptszFolder    1024 bytes, or null when not wanted
 * \param[out] ptszFileName  260 bytes, or null when not wanted: the last component, extension included
 * \param[in]  ptszReserved  not used; pass null
 * \param[out] ptszFileExt   64 bytes, or null when not wanted: the extension without its dot
 * \param[in]  bReserved     not used
 * \return true when every wanted output holds its part (an empty part included); false when the path is
 *         null or empty, or when a part does not fit: that output is then empty, the others are as they
 *         should be.
 */
BASELIB_EXPORT bool BaseLib_String_GetFileAndPathA(const char* lpszPath, char* ptszFolder, char* ptszFileName,
                                                   char* ptszReserved, char* ptszFileExt, bool bReserved);

/** As BaseLib_String_GetFileAndPathA, for wide text; the buffers hold as many wide characters. */
BASELIB_EXPORT bool BaseLib_String_GetFileAndPathW(const wchar_t* lpszPath, wchar_t* ptszFolder,
                                                   wchar_t* ptszFileName, wchar_t* ptszReserved, wchar_t* ptszFileExt,
                                                   bool bReserved);

/**
 * Splits a line at its first separator.
 *
 * \param[in]  lpszLine      the line
 * \param[in]  lpszSeparator the separator, one character or more
 * \param[out] ptszKey       1024 bytes, or null when not wanted: what stands before the separator
 * \param[out] ptszValue     1024 bytes, or null when not wanted: what stands after it
 * \param[in]  nReserved1, nReserved2, nReserved3 not used
 * \return true, or false with nothing written when the line holds no separator (or the separator is
 *         empty); false when a part does not fit, with that output empty and the other as it should be.
 */
BASELIB_EXPORT bool BaseLib_String_GetKeyValueA(const char* lpszLine, const char* lpszSeparator, char* ptszKey,
                                                char* ptszValue, int nReserved1, int nReserved2, int nReserved3);

/**
 * Takes the text between the first start marker and the end marker that follows it.
 *
 * Surprising on purpose: with the same marker twice (quotes) a text that holds none counts as stripped
 * already and is taken whole, an empty text included.
 *
 * \param[in]  lpszSource the text
 * \param[out] ptszDest   1024 bytes; receives what stands between the markers
 * \param[in]  lpszStart  the start marker, one character or more
 * \param[in]  lpszEnd    the end marker, one character or more
 * \param[in]  nReserved  not used
 * \return true, or false with nothing written when a marker is missing (or empty); false with an empty
 *         output when the result does not fit.
 */
BASELIB_EXPORT bool BaseLib_String_GetStartEndA(const char* lpszSource, char* ptszDest, const char* lpszStart,
                                                const char* lpszEnd, int nReserved);

/**
 * Deletes a piece of text wherever it stands, in place, in one pass from left to right.
 *
 * \param[in,out] ptszText the text, shortened in place
 * \param[in]     lpszSub  the piece to delete, one character or more; not a part of ptszText itself
 * \param[in]     nReserved not used: every occurrence goes. Pass 1
 * \return true when at least one occurrence was deleted.
 */
BASELIB_EXPORT bool BaseLib_String_DelSubA(char* ptszText, const char* lpszSub, int nReserved);

/* ---------------------------------------------------------------------------------------------------
 * Time
 * ------------------------------------------------------------------------------------------------- */

/**
 * Tells how long ago the system started.
 *
 * \return milliseconds, time spent in suspend included (clock CLOCK_BOOTTIME).
 */
BASELIB_EXPORT unsigned long long BaseLib_Time_GetTickCount(void);

/**
 * Breaks a calendar time down into local time. The time zone is read anew at every call (tzset).
 *
 * \param[in]  nTime   seconds since 1970-01-01 00:00:00 UTC
 * \param[out] pSt_Time the caller's record
 * \return true, or false with nothing written when the record is null or the year does not fit an int.
 */
BASELIB_EXPORT bool BaseLib_Time_TTimeToStuTime(long long nTime, TOLVANE_LIBTIME* pSt_Time);

#ifdef __cplusplus
}
#endif

#endif
