// SPDX-License-Identifier: MIT
/**
 * \file
 * SystemApi: one flat interface to the operating system.
 *
 * Rules common to all operations:
 *
 * Results    Operations return true on success. Check the result, not the code: a failed operation sets
 *            SystemApi_IsErrorOccur and SystemApi_dwErrorCode; a later success clears the flag and leaves
 *            the code. SystemApi_GetLastError gives the code and, when asked, errno.
 * Symbols    An ERROR_... symbol names the operation that sets it. Several symbols share one value, on
 *            purpose: the operation called tells them apart.
 * Exceptions Failures of the standard file-system facility leave the file operations as
 *            std::filesystem::filesystem_error, through the C functions too, with the flag false. The code tells
 *            nothing of it: it is an earlier failure's, or that of a step inside, such as the search for a missing
 *            folder. An operation that cannot have memory throws std::bad_alloc; inside a tree removal the
 *            standard library ends the process instead.
 * Threads    No call takes a lock or starts a thread; all may run at once. The error flag and code are one
 *            pair for the whole process, so when two threads fail at once the last writer wins. errno is
 *            the calling thread's.
 * Signals    No call installs a handler. Where a handler of the caller's interrupts a call, no output of a command
 *            is lost and no wait becomes shorter. SystemApi_Process_Stop, SystemApi_System_SystemEx and the commands
 *            of SystemApi_System_Shutdown change the process's signal dispositions while they run.
 * Buffers    Records and text buffers are the caller's, who zeroes them first: most operations append to,
 *            or fill in part, what is there. A text buffer holds 1024 bytes unless its operation says
 *            otherwise. No call keeps a pointer that it was given.
 * Tables     A table of rows handed out is the caller's: give it back with BaseLib_Memory_Free, its address
 *            and the same count.
 * Text       A functions take 8-bit text, the native UTF-8 bytes; W functions take wchar_t. A wide path becomes
 *            UTF-8 whatever the locale. Text that cannot (a surrogate, a value above U+10FFFF) names no file: where
 *            a path goes to a call of the operating system, it counts as a missing file, and so does one whose UTF-8
 *            form exceeds 1023 bytes; where it goes to the standard file-system facility, that raises (EILSEQ).
 * Units      Sizes are bytes where no unit is named or chosen. Points in time are seconds since 1970-01-01 UTC, or
 *            local calendar time in a TOLVANE_LIBTIME. Shares are per cent, their fraction cut off, where the operation
 *            says nothing else.
 * Programs   Many answers come from shell tools. Their text and layout are part of the contract; what they write to
 *            standard error goes to the caller's.
 * Variables  PATH is where the shell looks for these tools. COLUMNS, where it is exported, cuts the lines that ps
 *            prints and a name or an id is looked for in. TZ is the zone of local times. The locale that setlocale
 *            has chosen counts in the enumerations alone.
 */
#ifndef TOLVANE_SYSTEMAPI_H
#define TOLVANE_SYSTEMAPI_H

#include <Tolvane_BaseLib.h>

#include <stddef.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#define SYSTEMAPI_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C"
{
#endif

/* ===================================================================================================
 * Error state
 * ================================================================================================= */

/** True when the most recent operation that ran failed. One for the whole process; starts as false. */
extern SYSTEMAPI_EXPORT bool SystemApi_IsErrorOccur;

/**
 * The code of the most recent failure, 0 before the first; one of the ERROR_... symbols. Kept across later
 * successes. One for the whole process.
 */
extern SYSTEMAPI_EXPORT unsigned long SystemApi_dwErrorCode;

/**
 * Gives the code of the most recent failure, and the calling thread's errno.
 *
 * \param[out] pInt_ErrorCode receives errno as it stands at the moment of this call, whether or not an
 *                            operation has failed; null when not wanted. After a failed system call it is
 *                            what that left; a refused argument leaves it as it was
 * \return SystemApi_dwErrorCode. The error state does not change.
 *
 * Blocking   never.
 * Privilege  none.
 */
SYSTEMAPI_EXPORT unsigned long SystemApi_GetLastError(int* pInt_ErrorCode);

/* ===================================================================================================
 * Files: 0x040A0xxx
 * ================================================================================================= */

#define ERROR_SYSTEMAPI_FILE_GETATTR_PARAMETER 0x040A0001UL      /* path or record is null */
#define ERROR_SYSTEMAPI_FILE_GETATTR_STAT 0x040A0002UL           /* stat failed; errno */
#define ERROR_SYSTEMAPI_FILE_SAVEBUFF_PARAMETER 0x040A0010UL     /* path or buffer is null */
#define ERROR_SYSTEMAPI_FILE_SAVEBUFF_OPEN 0x040A0011UL          /* the file could not be opened; errno */
#define ERROR_SYSTEMAPI_FILE_ENUMFILE_PARAMETER 0x040A0020UL     /* path or list is null */
#define ERROR_SYSTEMAPI_FILE_ENUMFILE_NOTFOUND 0x040A0021UL      /* nothing passed the selection */
#define ERROR_SYSTEMAPI_FILE_ENUMFILE_NOTDIR 0x040A0022UL        /* what is to be walked is no folder */
#define ERROR_SYSTEMAPI_FILE_CREATEFOLDER_PARAMETER 0x040A0030UL /* path is null */
#define ERROR_SYSTEMAPI_FILE_CREATEFOLDER_CREATE 0x040A0031UL    /* no folder was created */
#define ERROR_SYSTEMAPI_FILE_DELETEFOLDER_PARAMETER 0x040A0040UL /* path is null */
#define ERROR_SYSTEMAPI_FILE_SPARSE_PARAMETER 0x040A0050UL       /* path is null, or size below 1 */
#define ERROR_SYSTEMAPI_FILE_SPARSE_OPEN 0x040A0051UL            /* the file could not be opened; errno */
#define ERROR_SYSTEMAPI_FILE_COPY_PARAMETER 0x040A0070UL         /* source or destination is null */
#define ERROR_SYSTEMAPI_FILE_COPY_EXIST 0x040A0071UL             /* the destination (W: the source) exists */
#define ERROR_SYSTEMAPI_FILE_COPY_COPY 0x040A0072UL              /* nothing was copied */
/* Outside its operation's block on purpose: callers know this value. */
#define ERROR_SYSTEMAPI_FILE_SPARSE_WRITE 0x040A0502UL /* a write stopped before the size; errno */

/** What is known of a path. */
typedef struct SYSTEMAPI_FILE_ATTR
{
    long long nFileSize;   /**< bytes */
    long long nCreateTime; /**< last status change (not creation), seconds since 1970-01-01 UTC */
    long long nAccessTime; /**< last access, seconds since 1970-01-01 UTC */
    long long nWriteTime;  /**< last modification, seconds since 1970-01-01 UTC */
    bool bIsFile;          /**< anything but a folder: files, devices, pipes, sockets */
    bool bIsHidden;        /**< the path as passed begins with a dot, so "./x" does and "/home/u/.x" not */
    bool bIsRead;          /**< the process may read it, judged by its real user and group */
} SYSTEMAPI_FILE_ATTR;

/**
 * Tells the size, the times and the kind of a path, following symbolic links (stat).
 *
 * \param[in]  lpszPath     the path
 * \param[out] pSt_FileAttr the caller's record; every field is written, on success alone
 * \return true, or false with ..._GETATTR_PARAMETER or ..._GETATTR_STAT, record untouched.
 *
 * Blocking   as long as the file system takes to answer.
 * Privilege  search permission for the folders on the way; none for the object itself.
 *
 * Surprising on purpose: nCreateTime is the last status change, and bIsHidden goes by the first character of the
 * path as passed: "./x" and "../x" are hidden, "/home/u/.profile" is not.
 */
SYSTEMAPI_EXPORT bool SystemApi_File_GetFileAttrA(const char* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr);
/** As SystemApi_File_GetFileAttrA, for a wide path. */
SYSTEMAPI_EXPORT bool SystemApi_File_GetFileAttrW(const wchar_t* lpszPath, SYSTEMAPI_FILE_ATTR* pSt_FileAttr);

/**
 * Makes a file of so many zero bytes. An existing file is emptied first.
 *
 * \param[in] lpszPath the path; its folder must exist
 * \param[in] nSize    size in bytes, 1 or more
 * \return true when every byte has been handed to the kernel, or false with ..._SPARSE_PARAMETER (no file is
 *         touched), ..._SPARSE_OPEN, or ..._SPARSE_WRITE: a disk is full or a limit is reached, and what could be
 *         written stays.
 *
 * Blocking   while it writes, 4096 bytes at a time; allocates nothing that grows with the size.
 * Signals    SIGXFSZ where the file would outgrow the process's limit (RLIMIT_FSIZE); it ends a process that does
 *            not ignore it.
 * Privilege  write permission for the file, or for its folder where it is new.
 *
 * Surprising on purpose: despite the name the file has no holes, and takes its full size on the disk.
 */
SYSTEMAPI_EXPORT bool SystemApi_File_CreateSparseFileA(const char* lpszPath, long long nSize);
/** As SystemApi_File_CreateSparseFileA, for a wide path. */
SYSTEMAPI_EXPORT bool SystemApi_File_CreateSparseFileW(const wchar_t* lpszPath, long long nSize);

/**
 * Makes a folder and every missing folder above it.
 *
 * \param[in] lpszPath the folder, at most 1023 characters: a longer path ends the process (abort)
 * \return true, also when something stands there already, or false with ..._CREATEFOLDER_PARAMETER or
 *         ..._CREATEFOLDER_CREATE. Every other failure, an empty path's included, is a filesystem_error; folders
 *         made before it stay.
 *
 * Blocking   as long as the file system takes.
 * Privilege  write permission for the lowest folder that exists.
 *
 * Surprising on purpose: an existing file counts as success and is left alone. One backslash at the end of the path
 * is cut off; others are ordinary characters of a name.
 */
SYSTEMAPI_EXPORT bool SystemApi_File_CreateMutilFolderA(const char* lpszPath);
/** As SystemApi_File_CreateMutilFolderA, for a wide path. */
SYSTEMAPI_EXPORT bool SystemApi_File_CreateMutilFolderW(const wchar_t* lpszPath);

/**
 * Deletes a folder with everything below it, or only what it holds.
 *
 * \param[in] lpszPath      the folder
 * \param[in] bDeleteFolder true: the folder goes too; false: it stays, empty
 * \return true, also when nothing stands there, or false with ..._DELETEFOLDER_PARAMETER. Every other failure is a
 *         filesystem_error; what was removed before it stays removed.
 *
 * Links are removed, never followed; but where lpszPath itself is a link to a folder, true removes the link alone,
 * and false what the folder holds.
 *
 * Blocking   as long as the file system takes, so longer for a large tree.
 * Privilege  write permission for every folder that loses an entry, read permission for every one that is emptied.
 *
 * Surprising on purpose: a path that names no folder, such as a file, is left alone, and that counts as success.
 */
SYSTEMAPI_EXPORT bool SystemApi_File_DeleteMutilFolderA(const char* lpszPath, bool bDeleteFolder);
/** As SystemApi_File_DeleteMutilFolderA, for a wide path. */
SYSTEMAPI_EXPORT bool SystemApi_File_DeleteMutilFolderW(const wchar_t* lpszPath, bool bDeleteFolder);

/**
 * Writes a buffer to a file, and makes the file's folder when it is missing. An existing file is emptied first.
 *
 * \param[in] lpszPath   the path; a bare name means the current folder
 * \param[in] lpszBuffer the bytes; must not be null, also when there are none
 * \param[in] nSize      number of bytes; 0 leaves an empty file. Not checked: a negative one is not allowed
 * \return true when every byte has been handed to the kernel, or false with ..._SAVEBUFF_PARAMETER,
 *         ..._SAVEBUFF_OPEN (also when the folder is an existing file), or the code of folder creation,
 *         ..._CREATEFOLDER_CREATE. Folder creation may also raise filesystem_error, as does a folder part of 1024
 *         characters or more, although the system could hold the file.
 *
 * Blocking   while it writes. A write that writes nothing, as on a full disk or at a limit, is tried again until there
 *            is room.
 * Signals    SIGXFSZ where the file would outgrow the process's limit (RLIMIT_FSIZE); it ends a process that does
 *            not ignore it.
 * Privilege  write permission for the file, or for the lowest folder that exists.
 *
 * Surprising on purpose: after a success into a new folder the error code reads ..._GETATTR_STAT, for the folder
 * that was looked for and was missing. The flag is false.
 */
SYSTEMAPI_EXPORT bool SystemApi_File_SaveBuffToFileA(const char* lpszPath, const char* lpszBuffer, int nSize);
/** As SystemApi_File_SaveBuffToFileA, for a wide path. */
SYSTEMAPI_EXPORT bool SystemApi_File_SaveBuffToFileW(const wchar_t* lpszPath, const char* lpszBuffer, int nSize);

/**
 * Copies a file, over an existing one too, and makes the destination's folder when it is missing.
 *
 * \param[in] lpszSource   the file to copy; a folder, a pipe or a device raises
 * \param[in] lpszDest     the path of the copy; a bare name means the current folder
 * \param[in] bFailIfExist true: refuse when lpszDest exists, whether or not it may be read
 * \return true, or false with ..._COPY_PARAMETER, ..._COPY_EXIST, ..._COPY_COPY, or the code of folder creation,
 *         ..._CREATEFOLDER_CREATE. Nearly every failure of the copying itself raises filesystem_error; part of a copy
 *         may then stand. Folder creation raises it too, as does a folder part of lpszDest of 1024 characters or more.
 *
 * Blocking   while it copies.
 * Signals    SIGXFSZ where the file would outgrow the process's limit (RLIMIT_FSIZE); it ends a process that does
 *            not ignore it.
 * Privilege  read permission for the source, write permission for the copy or for the lowest folder that exists.
 *
 * Surprising on purpose: after a success into a new folder the error code reads ..._GETATTR_STAT, for the folder
 * that was looked for and was missing. The flag is false.
 */
SYSTEMAPI_EXPORT bool SystemApi_File_CopyFileA(const char* lpszSource, const char* lpszDest, bool bFailIfExist);
/**
 * As SystemApi_File_CopyFileA, for wide paths.
 *
 * Surprising on purpose: bFailIfExist looks at lpszSource, not at lpszDest, and so refuses every existing source.
 */
SYSTEMAPI_EXPORT bool SystemApi_File_CopyFileW(const wchar_t* lpszSource, const wchar_t* lpszDest, bool bFailIfExist);

/**
 * Lists what a folder or a whole tree holds, as a table of rows.
 *
 * \param[in]  lpszPath       a folder ("data" or "data/"), one star after its slash allowed; or a folder and a name
 *                            with an extension ("data/a.txt", or *.txt after the slash): then of the folder's
 *                            files those are listed whose extension begins with that one, in either case
 * \param[out] pppszFileList  receives a table of *pInt_ListCount paths, each lpszPath's folder as written, a slash,
 *                            and the way from there ("a.txt" alone gives "./a.txt"), in the order of the operating
 *                            system; null when not wanted. Give it back with BaseLib_Memory_Free and the same count.
 *                            Rows are of 1024 bytes, or all of them as long as the longest path needs
 * \param[out] pInt_ListCount receives the number of rows; null when not wanted
 * \param[in]  bRecursion     true: the whole tree, a folder before what it holds; false: the folder's own entries
 * \param[in]  nFileType      1 files, 2 folders, 3 both; any other value takes nothing. What is no folder and no
 *                            link to one is a file
 * \return true, or false with ..._ENUMFILE_PARAMETER (path is null) or ..._ENUMFILE_NOTDIR, nothing written; or
 *         ..._ENUMFILE_NOTFOUND, with a table of no rows and a count of 0 written. Every other failure is a
 *         filesystem_error, nothing written.
 *
 * Folders that may not be read are passed over. Links to folders are listed as folders and not followed. An extension
 * of 64 characters or more counts as none, so that lpszPath is then a folder; a folder part of 1024 characters or more
 * before an extension gives ..._ENUMFILE_NOTDIR.
 *
 * Blocking   as long as the walk takes.
 * Privilege  read permission for the folders that are to be listed.
 *
 * Surprising on purpose:
 * - A folder whose own name has an extension is a pattern ("data.d" lists files d* of the current folder); write
 *   "data.d/".
 * - A star in an extension is an ordinary character: "data/a.t*" finds nothing.
 * - In a tree, folders named "$RECYCLE.BIN" and "System Volume Information" are left out with all they hold; in a
 *   folder's own entries they are not.
 * - In a tree, files (not folders) come in the 8-bit form of the current locale (BaseLib_Charset_UnicodeToAnsi): the
 *   same bytes, unless the locale has other ones for the name. A path that does not fit 1023 bytes is then an empty
 *   row, and a file whose path is not UTF-8 raises (EILSEQ), whether or not its extension passes.
 * - A path of 1024 bytes or more that ends in a star and has no extension ends the process (abort).
 */
SYSTEMAPI_EXPORT bool SystemApi_File_EnumFileA(const char* lpszPath, char*** pppszFileList, int* pInt_ListCount,
                                               bool bRecursion, int nFileType);
/**
 * As SystemApi_File_EnumFileA, for wide text; a row of 1024 bytes holds 255 characters.
 *
 * Surprising on purpose: a star at the end is an ordinary character, so that the path is most likely ..._NOTDIR. Every
 * entry is the wide form of its native path: a name that is not UTF-8 raises (EILSEQ).
 */
SYSTEMAPI_EXPORT bool SystemApi_File_EnumFileW(const wchar_t* lpszPath, wchar_t*** pppszFileList, int* pInt_ListCount,
                                               bool bRecursion, int nFileType);

/* ===================================================================================================
 * Hardware: 0x040A2xxx
 * ================================================================================================= */

#define ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_PARAMETER 0x040A2001UL    /* record is null */
#define ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_PARAMETER 0x040A2001UL   /* path or record is null */
#define ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_PARAMETER 0x040A2001UL /* count is null */
#define ERROR_SYSTEMAPI_HARDWARE_GETSERIAL_PARAMETER 0x040A2001UL     /* record is null */
#define ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_STATFS 0x040A2002UL      /* statfs failed; errno */
#define ERROR_SYSTEMAPI_HARDWARE_GETDISKINFO_TYPE 0x040A2003UL        /* unit outside 1 to 4 */
#define ERROR_SYSTEMAPI_HARDWARE_GETCPUINFO_READ 0x040A2009UL         /* processor table unreadable or short */
#define ERROR_SYSTEMAPI_HARDWARE_GETDISKNUMBER_OPEN 0x040A2009UL      /* partition table unreadable or short */

/** Kind and size of a file system. */
typedef struct tag_SystemApi_Disk_Information
{
    int nReserved;             /**< never written */
    unsigned int enDiskType;   /**< 1 FAT, 2 NTFS, 3 old ext2, 4 ext2 to ext4, 0 any other */
    unsigned long dwDiskTotal; /**< size, in the unit asked for */
    unsigned long dwDiskFree;  /**< space that an ordinary user may still take, in the unit asked for */
} tag_SystemApi_Disk_Information;

/** The processor's description. */
typedef struct tag_SystemApi_Cpu_Information
{
    char tszCpuName[128];  /**< model name */
    char tszCpuVendor[64]; /**< vendor */
    int nCpuSpeed;         /**< clock rate in MHz, its fraction cut off */
    int nCpuNumber;        /**< processors online */
    int nCpuCore;          /**< hardware threads */
} tag_SystemApi_Cpu_Information;

/** Serial numbers and UUIDs of the machine. */
typedef struct tag_SystemApi_SdkSerial_Information
{
    char tszCpuSerial[64];   /**< processor ID, blanks removed */
    char tszBoardSerial[64]; /**< mainboard serial number */
    char tszDiskSerial[64];  /**< in: the disk device to ask for, empty for /dev/sda; out: its UUID */
    char tszSystemUUID[64];  /**< system (product) UUID */
} tag_SystemApi_SdkSerial_Information;

/**
 * Tells the kind and the size of the file system that holds a path.
 *
 * \param[in]  lpszDiskName any path on the file system, a mount point say
 * \param[out] pSt_DiskInfo the caller's record; nReserved is never written
 * \param[in]  nDiskType    unit of both sizes: 1 bytes, 2 KiB, 3 MiB, 4 GiB, rounded down
 * \return true, or false with ..._GETDISKINFO_PARAMETER or ..._GETDISKINFO_STATFS, record untouched, or with
 *         ..._GETDISKINFO_TYPE and the record filled, its sizes in bytes (on purpose: the unit is looked at last).
 *
 * Blocking   as long as statfs, which waits where the file system itself does not answer (a network share).
 * Privilege  search permission for the folders on the way.
 */
SYSTEMAPI_EXPORT bool SystemApi_HardWare_GetDiskInfomation(const char* lpszDiskName,
                                                           tag_SystemApi_Disk_Information* pSt_DiskInfo,
                                                           int nDiskType);

/**
 * Lists the disks and partitions that /proc/partitions shows under the major numbers 8 (SCSI, SATA) and 259 (NVMe
 * and others).
 *
 * \param[out] pppszRootName  receives a table of *pInt_ListCount names ("sda", "sda1") in rows of 1024 bytes, in
 *                            the file's order; must not be null. Give it back with BaseLib_Memory_Free and the
 *                            same count, also when that is 0
 * \param[out] pInt_ListCount receives the number of names
 * \return true, or false with ..._GETDISKNUMBER_PARAMETER or ..._GETDISKNUMBER_OPEN, outputs untouched.
 *
 * Blocking   no longer than the kernel file takes to be read.
 * Privilege  none.
 *
 * Surprising on purpose: disks of other families are never listed; a virtual machine with nothing but "vda" gives
 * a count of 0, and true.
 */
SYSTEMAPI_EXPORT bool SystemApi_HardWare_GetDiskNumber(char*** pppszRootName, int* pInt_ListCount);

/**
 * Tells the processor's model name, vendor, clock rate and counts.
 *
 * \param[out] pSt_CpuInfo the caller's record
 * \return true, or false with ..._GETCPUINFO_PARAMETER, record untouched, or with ..._GETCPUINFO_READ when
 *         /proc/cpuinfo could not be opened, ended before its eighth line, or its fifth line holds no ": ". Then
 *         nCpuCore is set all the same, and so are the fields of the lines that were reached.
 *
 * Blocking   no longer than the kernel file takes to be read.
 * Privilege  none.
 *
 * Surprising on purpose: the table is read by position, as the kernel prints the first processor on x86: the
 * vendor is the third word of line 2, the name stands behind the first ": " of line 5, the clock rate is the
 * fourth word of line 8. No key is compared, so on another processor family the fields hold whatever stands there.
 * A name of more than 126 bytes is cut.
 */
SYSTEMAPI_EXPORT bool SystemApi_HardWare_GetCpuInfomation(tag_SystemApi_Cpu_Information* pSt_CpuInfo);

/**
 * Tells the serial numbers and UUIDs of processor, mainboard, disk and system.
 *
 * \param[in,out] pSt_SDKSerial the caller's record, zeroed but for tszDiskSerial: the device to ask for, empty for
 *                              /dev/sda. It becomes part of a shell command: never take it from an untrusted source
 * \return true, or false with ..._GETSERIAL_PARAMETER. A command that fails (no rights, no such tool) leaves its
 *         field empty and the result true.
 *
 * Runs dmidecode, blkid and cat under sudo, one after the other. What the commands print is appended to what the
 * fields hold. A text longer than its field runs into the fields after it, never past the record.
 *
 * Blocking   until each command has ended; where sudo wants a password and has a terminal, it asks for it there.
 * Privilege  a sudo that asks for no password, for the superuser too; without it the fields stay empty.
 *
 * Surprising on purpose: the processor ID is the second of the sorted, different IDs that dmidecode lists, so with one
 * processor, or several of a kind, it is empty; its last character is cut whatever it is. The disk's number is the
 * first text in quotes in what blkid prints second, which for a whole disk usually is the UUID of its partition table;
 * a label with a blank in it leaves the device's name. Of the fields in the order board, processor, disk, system, the
 * first that begins with "none" or "null" (in any case) is cleared, and the later ones are not looked at.
 */
SYSTEMAPI_EXPORT bool SystemApi_HardWare_GetSerial(tag_SystemApi_SdkSerial_Information* pSt_SDKSerial);

/* ===================================================================================================
 * Processes: 0x040A3xxx
 * ================================================================================================= */

/* The attribute operations report a null argument with 0x040A3000 too, the affinity operations EPERM with
 * 0x040A3001, and 0x040A3002 stands for a failed affinity query as well as for a process list that could not
 * open /proc. */
#define ERROR_SYSTEMAPI_PROCESS_CREATE_PARAMETER 0x040A3000UL   /* id or path is null, arguments too long */
#define ERROR_SYSTEMAPI_PROCESS_GETINFO_PARAMETER 0x040A3000UL  /* record is null */
#define ERROR_SYSTEMAPI_PROCESS_READCMD_PARAMETER 0x040A3000UL  /* command or buffer is null */
#define ERROR_SYSTEMAPI_PROCESS_RUN_PARAMETER 0x040A3000UL      /* path or first argument is null */
#define ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN 0x040A3001UL      /* popen failed; errno */
#define ERROR_SYSTEMAPI_PROCESS_STOP_PERMISSION 0x040A3001UL    /* kill was not permitted */
#define ERROR_SYSTEMAPI_PROCESS_GETPATH_READLINK 0x040A3002UL   /* readlink failed; errno */
#define ERROR_SYSTEMAPI_PROCESS_GETINFO_USER 0x040A3006UL       /* no user has the login uid */
#define ERROR_SYSTEMAPI_PROCESS_GETINFO_NOTFOUND 0x040A3007UL   /* the lookup of the name printed nothing */
#define ERROR_SYSTEMAPI_PROCESS_STOP_NOTFOUND 0x040A3007UL      /* no process has the name, or it is too long */
#define ERROR_SYSTEMAPI_PROCESS_GETPRIORITY_FAILED 0x040A3013UL /* getpriority gave -1; errno */
#define ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_FAILED 0x040A3014UL /* setpriority failed; errno */
#define ERROR_SYSTEMAPI_PROCESS_SETPRIORITY_RANGE 0x040A3015UL  /* priority above -20 */
#define ERROR_SYSTEMAPI_PROCESS_STOP_READCMD 0x040A3016UL       /* the name could not be looked up; errno */
#define ERROR_SYSTEMAPI_PROCESS_STOP_KILL 0x040A3017UL          /* kill failed; errno */
#define ERROR_SYSTEMAPI_PROCESS_RUN_FORK 0x040A3018UL           /* fork failed; errno */
#define ERROR_SYSTEMAPI_PROCESS_CREATE_SPAWN 0x040A3019UL       /* posix_spawn failed */
#define ERROR_SYSTEMAPI_PROCESS_RUN_EXEC 0x040A3019UL           /* in the child: execl failed; errno */
#define ERROR_SYSTEMAPI_PROCESS_SETCPU_FAILED 0x040A3020UL      /* sched_setaffinity failed; errno */

/** What is known of one process. */
typedef struct tag_SystemApi_Process_Infomation
{
    int nPid;               /**< process id */
    int nThreadCount;       /**< number of threads */
    char tszAppName[1024];  /**< command name, its brackets kept: "(bash)" */
    char tszUserName[1024]; /**< name of the user that logged in */
    int nAppState;          /**< 0 running, 1 sleeping, 2 uninterruptible, 3 zombie, 4 stopped, 5 paging, 6 unknown */
    int nVirtualMem;        /**< total program size in pages, divided by 4 */
    int nResidentMem;       /**< resident pages, divided by 4 */
    int nSharedMem;         /**< shared pages, divided by 4 */
} tag_SystemApi_Process_Infomation;

/**
 * Runs a shell command line and appends a run of lines of its standard output to the caller's buffer.
 *
 * \param[in]     lpszCmd       the command line, handed to the shell as it stands (popen). Never build it from
 *                              text of an untrusted source
 * \param[in,out] ptszMsgBuffer lines are appended to the text it holds, each with its line end. No size is
 *                              passed: the caller makes it large enough for what the command may print
 * \param[in]     nReadLines    the most lines to take; 0 or less takes all
 * \param[in]     nStartLine    the first line to take, counted from 1; 0 or less means 1
 * \param[out]    pInt_Len      receives the number of bytes appended, on success; null when not wanted
 * \return true, also when the command failed or printed nothing: its exit status is not looked at. False with
 *         ..._READCMD_PARAMETER or ..._READCMD_POPEN, buffer and length untouched.
 *
 * Blocking   until the command ends, also when the wanted lines came early: a command that goes on writing then
 *            gets SIGPIPE, or a write error alone where the caller ignores SIGPIPE. Without a limit it blocks until
 *            all that the command started has closed the output too.
 * Privilege  the caller's, which the command has too.
 *
 * Surprising on purpose: a line of more than 2047 bytes counts as several, of 2047 bytes each and a rest; of
 * each only what stands before its first null character is appended.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_ReadCmdReturn(const char* lpszCmd, char* ptszMsgBuffer, int nReadLines,
                                                      int nStartLine, int* pInt_Len);

/**
 * Tells what is known of one process: the first that a name finds, the one with an id, or the caller.
 *
 * \param[in,out] pSt_ProcessInfo the caller's record, not cleared first: what a failing call does not reach keeps
 *                                what it held
 * \param[in]     lpszProcessName a name to look for; null looks at nPid. It becomes part of a shell command and a
 *                                grep pattern: never pass text from an untrusted source
 * \param[in]     nPid            the process id when no name is given; 0 is the calling process
 * \return true; or false with
 *         - ..._GETINFO_PARAMETER, record untouched;
 *         - ..._GETINFO_NOTFOUND when the name lookup printed nothing, record untouched;
 *         - ..._GETINFO_USER when no user has the login uid: all fields but tszUserName are written;
 *         - ..._READCMD_POPEN when a command could not be started; what came before it is written.
 *
 * Runs, one after the other, "ps -ef | grep NAME | awk '{print $2}'" for a name, then
 * "/proc/ID/stat", "/proc/ID/statm" and "cat /proc/ID/loginuid". A command longer than 1023 bytes is cut.
 *
 * Blocking   until each command has ended.
 * Privilege  none.
 *
 * Surprising on purpose: the two entries are handed to the shell as commands, not read. Where they cannot be run,
 * as on every ordinary system, the shell complains on standard error and the call succeeds with nPid,
 * nThreadCount and the memory fields 0, an empty tszAppName, the state 6 and the name of user 0. The login uid is
 * that of the id found in the stat text, not of the id asked for. A name finds the first line of the listing that
 * holds it, be that the lookup's own shell or grep. The brackets of the command name stay, and a blank inside it
 * shifts what follows. Memory is in pages divided by 4.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_GetProcessInfo(tag_SystemApi_Process_Infomation* pSt_ProcessInfo,
                                                       const char* lpszProcessName, int nPid);

/**
 * Starts a program (posix_spawn), with an empty environment.
 *
 * \param[out] pInt_ProcessId  receives the id of the new process, which is the caller's child: reap it with
 *                             waitpid
 * \param[in]  lpszProcessName path of the program; PATH is not searched. Its last component is argv[0]
 * \param[in]  lpszCmdLine     the arguments, at most 1023 bytes, split at blanks; null when there are none
 * \param[in]  bShow           not used
 * \return true, or false with ..._CREATE_PARAMETER (the id pointer or the path is null, or the arguments are too
 *         long) or ..._CREATE_SPAWN (no such program, for one), id untouched. errno does not tell why a program
 *         did not start.
 *
 * Blocking   until the program is started; not for its end.
 * Privilege  execute permission for the program, which runs with the caller's own.
 *
 * Surprising on purpose: only the blank splits. A tab does not, runs of blanks give no empty arguments, and quotes
 * are ordinary characters.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_CreateProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName,
                                                      const char* lpszCmdLine, bool bShow);

/**
 * Starts a program (fork and execl), with the caller's environment.
 *
 * \param[out] pInt_ProcessId  written in the child alone, with its own id; must not be null, or the child ends
 *                             with SIGSEGV
 * \param[in]  lpszProcessName path of the program; PATH is not searched
 * \param[in]  lpszArgv0       the program's argv[0]
 * \param[in]  lpszArgv1       its one further argument; null when there is none
 * \param[in]  bShow           not used
 * \return in the caller true as soon as the child is forked, or false with ..._RUN_PARAMETER or ..._RUN_FORK; in the
 *         child, where the program could not be started, false with ..._RUN_EXEC.
 *
 * Blocking   until the child is forked; not for its end. The caller reaps it.
 * Privilege  execute permission for the program, which runs with the caller's own.
 *
 * Surprising on purpose: the caller is not told the child's id. And where the program cannot be started the call
 * returns a second time, in the child, which then runs on in the caller's code, a copy of the whole process with the
 * calling thread alone. Leave it with _exit.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_RunProcess(unsigned long* pInt_ProcessId, const char* lpszProcessName,
                                                   const char* lpszArgv0, const char* lpszArgv1, bool bShow);

/**
 * Sends SIGINT to a process, and waits for it to end when it is a child of the caller.
 *
 * \param[in] lpszProcessName a name to look for; null takes nPid. It becomes part of a shell command and a grep
 *                            pattern, matched against whole lines of the listing (user names, arguments): never
 *                            pass text from an untrusted source
 * \param[in] nPid            the process id when no name is given, handed to kill as it is: 0 is the caller's
 *                            process group, the caller included, -1 every process that may be signalled, below
 *                            -1 another group
 * \param[in] bWaitSigchld    whether SIGCHLD is ignored, process-wide, until the process has ended
 * \return true once the signal is sent and the wait is over; or false with
 *         - ..._STOP_READCMD when the lookup could not be started;
 *         - ..._STOP_NOTFOUND when it found no process id, or its command would be longer than 1023 bytes;
 *         - ..._STOP_PERMISSION when kill was not permitted, ..._STOP_KILL when it failed otherwise.
 *
 * A name runs "ps -aux | grep NAME | grep -v grep | awk '{print $2}'" and stops the first process it lists, no
 * other.
 *
 * Blocking   as long as a child takes to end, which is for ever when it does not heed SIGINT; a process that is no
 *            child is not waited for. With an id of 0 or below one child of that set is waited for, whichever ends
 *            first (with bWaitSigchld all of them).
 * Signals    sends SIGINT once. With bWaitSigchld it changes what the whole process does with SIGCHLD.
 * Privilege  that of kill: the same user, or CAP_KILL.
 *
 * Surprising on purpose: with bWaitSigchld, SIGCHLD has its default disposition after a success, whatever it was
 * before, and stays ignored when kill fails. While it is ignored, other threads find their children reaped.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_Stop(const char* lpszProcessName, int nPid, bool bWaitSigchld);

/**
 * Tells how much processor time a process used, in per cent of its lifetime.
 *
 * \param[out] pInt_Usage receives the usage, its fraction cut off
 * \param[in]  nPid       the process id; 0 is the calling process
 * \return true, or false with 0x040A3000 (pointer is null) or ..._READCMD_POPEN, output untouched.
 *
 * Runs "ps aux | grep ID | awk '{print($3$4);}'" and takes the number that its first line begins with.
 *
 * Blocking   until the command has ended.
 * Privilege  none.
 *
 * Surprising on purpose: every line of the listing that holds the digits of the id anywhere counts, and the first
 * one wins, whichever process it is of. No line, no number: the usage is 0. The two columns are printed run
 * together: "12.5" and "0.3" read as 12.50.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_GetProcessCpuUsage(int* pInt_Usage, int nPid);

/**
 * Tells when a process was started, in local time.
 *
 * \param[out] pSt_Time the caller's record
 * \param[in]  nPid     the process id; 0 is the calling process
 * \return true, or false with 0x040A3000 (record is null) or ..._READCMD_POPEN, record untouched.
 *
 * Runs "ps -p ID -o lstart=" and reads its first line, which is English in every locale of the caller.
 *
 * Blocking   until the command has ended.
 * Privilege  none.
 *
 * Surprising on purpose: an id that no process has is a success that leaves the record as it was. The text is read
 * as standard time, so a start during daylight saving time is reported one hour (the zone's shift) late.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_GetUpTime(TOLVANE_LIBTIME* pSt_Time, int nPid);

/**
 * Tells the path of a process's executable (readlink of /proc/ID/exe).
 *
 * \param[out] ptszPath 1024 bytes, zeroed by the caller: no null character is written
 * \param[in]  nPid     the process id; 0 is the calling process
 * \return true, or false with 0x040A3000 (buffer is null) or ..._GETPATH_READLINK, buffer untouched.
 *
 * Blocking   never.
 * Privilege  for a process of another user, that of a debugger (CAP_SYS_PTRACE).
 *
 * Surprising on purpose: a path of 1024 bytes or more fills the buffer, without an ending null character. A program
 * that was replaced or removed since has " (deleted)" behind its path.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_GetPath(char* ptszPath, int nPid);

/**
 * Tells whether the caller runs as the superuser.
 *
 * \return true when the effective user is 0. False is an answer, no failure.
 *
 * Blocking   never.
 * Privilege  none.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_IsAdmin(void);

/**
 * Tells the nice value of a process (getpriority).
 *
 * \param[out] pInt_Priority receives -20 (most favoured) to 19
 * \param[in]  nPid          the process id, which stands for its main thread; 0 is the calling process
 * \return true, or false with 0x040A3000 (pointer is null) or ..._GETPRIORITY_FAILED, output untouched.
 *
 * Blocking   never.
 * Privilege  none.
 *
 * Surprising on purpose: a nice value of -1 cannot be told from a failure and is reported as one.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_GetPriority(int* pInt_Priority, int nPid);

/**
 * Gives a process the highest priority (setpriority).
 *
 * \param[in] nPriority -20 or lower; the kernel takes what is lower for -20
 * \param[in] nPid      the process id, which stands for its main thread: other threads keep theirs; 0 is the
 *                      calling process
 * \return true, or false with ..._SETPRIORITY_RANGE, before any system call, or ..._SETPRIORITY_FAILED, for one
 *         where the caller lacks the privilege.
 *
 * Blocking   never.
 * Privilege  CAP_SYS_NICE, or for a process of the same user a limit RLIMIT_NICE that allows -20.
 *
 * Surprising on purpose: no other nice value is accepted, 0 and positive ones included.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_SetPriority(int nPriority, int nPid);

/**
 * Binds a thread to one processor (sched_setaffinity).
 *
 * \param[in] nPid       the thread's id (a process id is its main thread's); 0 is the calling thread alone
 * \param[in] nCpuNumber index of the processor, counted from 0: a number, not a mask
 * \return true, or false with 0x040A3001 (not permitted) or ..._SETCPU_FAILED, also for a processor that the
 *         machine does not have; errno tells.
 *
 * Blocking   never.
 * Privilege  for a thread of another user, CAP_SYS_NICE.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_SetProcessForCpu(int nPid, unsigned long nCpuNumber);

/**
 * Tells which processors a thread may run on (sched_getaffinity).
 *
 * \param[in]     nPid         the thread's id (a process id is its main thread's); 0 is the calling thread alone
 * \param[in,out] pInt_CpuMask bit n is processor n; must not be null
 * \return true, or false with 0x040A3001 (not permitted) or 0x040A3002 (any other reason; errno), mask untouched.
 *
 * Blocking   never.
 * Privilege  none.
 *
 * Surprising on purpose: bits are added to those that the mask holds, so zero it first. The processors 64 and above
 * share the bits of the lower ones: 64 is bit 0 too.
 */
SYSTEMAPI_EXPORT bool SystemApi_Process_GetProcessForCpu(int nPid, unsigned long* pInt_CpuMask);

/* ===================================================================================================
 * The system: 0x040A1xxx
 * ================================================================================================= */

#define ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_PARAMETER 0x040A1001UL    /* name, version, build or type is null */
#define ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_UNAME 0x040A1002UL        /* uname failed; errno */
#define ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_PARAMETER 0x040A1010UL  /* record is null */
#define ERROR_SYSTEMAPI_SYSTEM_GETMEMORYUSAGE_POPEN 0x040A1011UL      /* popen failed; errno */
#define ERROR_SYSTEMAPI_SYSTEM_GETCPUUSAGE_PARAMETER 0x040A1020UL     /* usage is null */
#define ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_PARAMETER 0x040A1030UL       /* record is null */
#define ERROR_SYSTEMAPI_SYSTEM_GETUPTIME_LOCALTIME 0x040A1032UL       /* no local time could be made */
#define ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_PARAMETER 0x040A1040UL /* count is null */
#define ERROR_SYSTEMAPI_SYSTEM_GETPROCESSCOUNT_SYSINFO 0x040A1041UL   /* sysinfo failed; errno */
#define ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_PARAMETER 0x040A1050UL        /* unknown selector */
#define ERROR_SYSTEMAPI_SYSTEM_SHUTDOWN_EXEC 0x040A1051UL             /* reboot failed (errno), or the command did */
#define ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_PARAMETER 0x040A1060UL        /* command is null */
#define ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_SIGNAL 0x040A1061UL           /* sigaction or sigprocmask failed; errno */
#define ERROR_SYSTEMAPI_SYSTEM_SYSTEMEX_FORK 0x040A1062UL             /* fork failed; errno */
#define ERROR_SYSTEMAPI_SYSTEM_GETSYSIDLETIME_OPEN 0x040A10B1UL       /* /proc/stat could not be opened; errno */
#define ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_OPEN 0x040A10F0UL            /* /proc/stat could not be opened; errno */
#define ERROR_SYSTEMAPI_SYSTEM_GETOCCUPY_READ 0x040A10F1UL            /* /proc/stat has no first line */

/* What SystemApi_System_Shutdown does. 0x10006 lies in the range and is refused. */
#define SYSTEMAPI_SHUTDOWN_TYPE_POWEROFF 0x10001UL   /* halt the machine */
#define SYSTEMAPI_SHUTDOWN_TYPE_MONITOROFF 0x10002UL /* blank the display */
#define SYSTEMAPI_SHUTDOWN_TYPE_REBOOT 0x10003UL     /* restart the machine */
#define SYSTEMAPI_SHUTDOWN_TYPE_LOGOFF 0x10004UL     /* end the processes of the user called "username" */
#define SYSTEMAPI_SHUTDOWN_TYPE_LOCK 0x10005UL       /* lock the screen */
#define SYSTEMAPI_SHUTDOWN_TYPE_SUSPEND 0x10007UL    /* suspend to disk */

/** The machine's memory. The unit is chosen in the call; nMemoryShared is in bytes in every unit. */
typedef struct tag_SystemApi_Memory_Infomation
{
    int nMemoryLoad;                /**< per cent of physical memory in use, its fraction cut off */
    unsigned long nMemoryTotal;     /**< MemTotal of /proc/meminfo, in the unit chosen */
    unsigned long nMemoryAvailable; /**< MemAvailable of /proc/meminfo, in the unit chosen */
    unsigned long nSwapTotal;       /**< SwapTotal of /proc/meminfo, in the unit chosen */
    unsigned long nSwapFree;        /**< SwapFree of /proc/meminfo, in the unit chosen */
    unsigned long nMemoryShared;    /**< the last line that begins with Shmem, always in bytes */
    unsigned long nMemoryReserved1; /**< never filled, but scaled in place by the unit */
    unsigned long nMemoryReserved2; /**< never filled, but scaled in place by the unit */
} tag_SystemApi_Memory_Infomation;

/** One sample of one processor's time counters, in clock ticks; they wrap. */
typedef struct tag_LinuxSdk_SystemCpu_Occupy
{
    char tszCpuName[20];   /**< first word of the line, "cpu0", cut at 19 bytes */
    unsigned int dwUser;   /**< user time */
    unsigned int dwNice;   /**< niced user time */
    unsigned int dwSystem; /**< system time */
    unsigned int dwIdle;   /**< idle time */
} tag_LinuxSdk_SystemCpu_Occupy;

/** One process of the process list. */
typedef struct SYSTEMAPI_PROCESS_INFO
{
    char tszProcessName[1024]; /**< the first argument of its command line, cut at 1023 bytes; may be empty */
    int nPid;                  /**< process id */
} SYSTEMAPI_PROCESS_INFO;

/**
 * Tells the distribution's name, version and code name, and the kernel's release.
 *
 * \param[in,out] ptszOSName    1024 bytes: NAME of /etc/os-release, without its double quotes
 * \param[in,out] ptszOSVersion 1024 bytes: VERSION_ID, without its double quotes
 * \param[in,out] ptszOSBuild   1024 bytes: the text in brackets in VERSION, the code name
 * \param[out]    pInt_OSType   receives 2, the code of this platform
 * \param[out]    ptszKernel    65 bytes: the release that uname gives; null when not wanted
 * \return true, or false with ..._GETSYSTEMVER_PARAMETER or ..._GETSYSTEMVER_UNAME and nothing written.
 *
 * Runs "cat /etc/os-release" and takes its first 1023 bytes (a value without quotes that stands
 * there at the end is cut). A file that is missing, or holds no such line, is no failure: the buffers keep what the
 * caller left in them. Where the command cannot be started the result is true as well, and the code becomes
 * ..._READCMD_POPEN.
 *
 * Blocking   until the command has ended.
 * Privilege  none.
 *
 * Surprising on purpose: keys are compared without regard to case and by their beginning alone (NAME, then
 * VERSION_ID, then VERSION), and a later line overwrites an earlier one. VERSION_CODENAME is a VERSION line too,
 * one without brackets, which writes nothing.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetSystemVer(char* ptszOSName, char* ptszOSVersion, char* ptszOSBuild,
                                                    unsigned long* pInt_OSType, char* ptszKernel);

/**
 * Tells the effective user's name and the host's name.
 *
 * \param[out] ptszUserName 1024 bytes: the name of the effective user in the user database, untouched where
 *                          the user has no entry or the database cannot be read; null when not wanted
 * \param[out] ptszSysName  1024 bytes: the name that gethostname gives; null when not wanted
 * \return true, always.
 *
 * Blocking   as long as the user database takes to answer, which may be a network service.
 * Privilege  none.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetSysName(char* ptszUserName, char* ptszSysName);

/**
 * Tells the machine's memory, swap and shared memory, and how much of the memory is in use.
 *
 * \param[in,out] pSt_MemoryInfo the caller's record; a field whose line is missing, or holds no number, keeps what
 *                               it held, and is scaled all the same
 * \param[in]     nType          unit: 1 bytes, 2 KiB, 3 MiB, 4 GiB, rounded down; any other value bytes
 * \return true, or false with ..._GETMEMORYUSAGE_PARAMETER or ..._GETMEMORYUSAGE_POPEN, record untouched.
 *
 * Runs "cat /proc/meminfo".
 *
 * Blocking   until the command has ended.
 * Privilege  none.
 *
 * Surprising on purpose: names are compared by their beginning alone, so nMemoryShared holds the last line that
 * begins with Shmem (ShmemPmdMapped, on most kernels), and it stays in bytes whatever the unit. The two reserved
 * fields are scaled, though nothing fills them. A total of 0 gives a load of -2147483648.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetMemoryUsage(tag_SystemApi_Memory_Infomation* pSt_MemoryInfo, int nType);

/**
 * Measures how busy the processors are over one second: the mean of all processors online, in per cent.
 *
 * \param[out] pInt_Usage receives the mean, its fraction cut off
 * \return true, or false with ..._GETCPUUSAGE_PARAMETER or the code of the sample that failed (..._GETOCCUPY_OPEN,
 *         ..._GETOCCUPY_READ), output untouched.
 *
 * Samples /proc/stat twice.
 *
 * Blocking   for the second between the samples.
 * Privilege  none.
 *
 * Surprising on purpose: niced time counts as time and not as busy; waiting for disks, interrupts and stolen time count
 * as neither. Where one processor counted no user, niced, system or idle time, as when it waited for a disk all that
 * second, the result is -2147483648, and true; where a counter fell between the samples it may lie outside of 0 to 100.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetCpuUsage(int* pInt_Usage);

/**
 * Tells the idle part of all time that /proc/stat has counted since the start, as a whole number.
 *
 * \param[out] pInt_IdleTime receives the result; must not be null
 * \return true, or false with ..._GETSYSIDLETIME_OPEN, output untouched.
 *
 * Blocking   no longer than the kernel file takes to be read.
 * Privilege  none.
 *
 * Surprising on purpose: the part is a fraction and is not scaled, so the result is 0 as soon as any time was not
 * idle, and 1 when all of it was. Where no time is counted, or there is no line "cpu " with nine times, it is
 * 0x8000000000000000.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetSysIdleTime(unsigned long* pInt_IdleTime);

/**
 * Lists the processes whose id is above 100.
 *
 * \param[out] pppSt_ProcessList receives a table of *pInt_ListCount records, in the order of /proc; must not be
 *                               null. Give it back with BaseLib_Memory_Free and the same count
 * \param[out] pInt_ListCount    receives the number of records; must not be null
 * \return true, or false with 0x040A3002 (/proc could not be opened; errno; a code of the process block, on purpose),
 *         outputs untouched.
 *
 * Runs "cat /proc/ID/cmdline" for each process, one after the other: a shell and a cat each.
 * The name is what that prints up to its first null character; it is empty for a kernel thread, a zombie, and a
 * process that ended meanwhile, whose cat then complains on standard error. A process whose command could not be
 * started is left out: the result is true all the same, and the code becomes ..._READCMD_POPEN.
 *
 * Blocking   until each command has ended: about a second for several hundred processes.
 * Privilege  none.
 *
 * Surprising on purpose: the ids 1 to 100 are never listed.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetProcessList(SYSTEMAPI_PROCESS_INFO*** pppSt_ProcessList,
                                                      int* pInt_ListCount);

/**
 * Tells how many tasks the kernel counts, threads included (sysinfo).
 *
 * \param[out] pInt_ProcessCount receives the low 16 bits of the kernel's count
 * \return true, or false with ..._GETPROCESSCOUNT_PARAMETER or ..._GETPROCESSCOUNT_SYSINFO, output untouched.
 *
 * Blocking   never.
 * Privilege  none.
 *
 * Surprising on purpose: a count of threads, of the whole machine, is no length for the process list.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetProcessCount(int* pInt_ProcessCount);

/**
 * Tells the date and time at which the system started, not how long ago that is.
 *
 * \param[out] pSt_SysTime the caller's record: local time
 * \return true, or false with ..._GETUPTIME_PARAMETER or ..._GETUPTIME_LOCALTIME, record untouched.
 *
 * The current time less the time since the start, in whole seconds: two calls may differ by one second, and by more
 * when the clock was set in between.
 *
 * Blocking   never.
 * Privilege  none.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_GetUpTime(TOLVANE_LIBTIME* pSt_SysTime);

/**
 * Halts, restarts or suspends the machine, blanks or locks the screen, or ends a user's processes.
 *
 * \param[in] dwType a selector SYSTEMAPI_SHUTDOWN_TYPE_*: POWEROFF 0x10001, MONITOROFF 0x10002, REBOOT 0x10003, LOGOFF
 *                   0x10004, LOCK 0x10005, SUSPEND 0x10007
 * \return true, or false with ..._SHUTDOWN_PARAMETER for any other value (0x10006 included) or ..._SHUTDOWN_EXEC when
 *         the action failed: errno tells why, for POWEROFF, REBOOT and SUSPEND alone.
 *
 * At once, and without a sync: what programs have written and the kernel still holds may be lost. POWEROFF, REBOOT
 * and SUSPEND call reboot; MONITOROFF, LOCK and LOGOFF run "xset dpms force off", "gnome-screensaver-command -l" and
 * "pkill -kill -u username" (system).
 *
 * Blocking   until the command has ended.
 * Signals    while a command runs, the process ignores SIGINT and SIGQUIT and the calling thread blocks SIGCHLD. Where
 *            the caller ignores SIGCHLD, a command that succeeded counts as failed.
 * Privilege  CAP_SYS_BOOT for POWEROFF, REBOOT and SUSPEND; for the others what their command needs.
 *
 * Surprising on purpose: POWEROFF halts the machine and leaves its power on. LOGOFF ends the processes of a user
 * whose name is "username", not the caller's; without such a user it fails.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_Shutdown(unsigned long dwType);

/**
 * Runs a shell command, with a time limit.
 *
 * \param[in] lpszCmd  the command line, handed to /bin/sh -c as it stands. Never build it from text of an untrusted
 *                     source
 * \param[in] nTimeout seconds after which the shell is killed (SIGKILL); with 0 or less, as soon as it is found
 *                     running
 * \return true once the shell has ended, whatever became of the command: its exit status is not reported. False with
 *         ..._SYSTEMEX_PARAMETER, ..._SYSTEMEX_SIGNAL or ..._SYSTEMEX_FORK, and nothing run.
 *
 * Blocking   until the shell has ended, looking once a second, so a call takes a whole number of seconds.
 * Signals    until it returns the process ignores SIGINT and SIGQUIT and the calling thread blocks SIGCHLD; the
 *            command itself gets them as they were.
 * Privilege  the caller's, which the command has too.
 *
 * Surprising on purpose: the limit meets the shell alone, so a program that it started goes on.
 * After ..._SYSTEMEX_SIGNAL the dispositions that were already changed stay so, and after ..._SYSTEMEX_FORK all of
 * them and the mask do.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_SystemEx(const char* lpszCmd, int nTimeout);

/**
 * Does nothing on this platform: neither reads nor writes its arguments.
 *
 * \param[in]  lpszQuery, lpszField not used
 * \param[out] ptszValue            not written
 * \param[in]  nValueLen            not used
 * \return true, always.
 *
 * Blocking   never.
 * Privilege  none.
 */
SYSTEMAPI_EXPORT bool SystemApi_System_WMIQuery(const char* lpszQuery, const char* lpszField, char* ptszValue,
                                                int nValueLen);

#ifdef __cplusplus
}
#endif

#endif
