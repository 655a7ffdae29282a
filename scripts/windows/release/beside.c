// Starts a program of Windows and does something beside it that only another program of
// Windows can do. Its status is that of the program, 125 where it could not do its part,
// with the reason on standard error, and 124 when the program did not end in time.
//
//     in FOLDER PROGRAM...             starts it in this folder, in any spelling
//     hold FILE PROGRAM...             has the file or folder open all the while and shares it with nobody
//     hold_briefly FIRST FILE PROGRAM...
//                                      the same, until a moment after FIRST is there
//     remove FOLDER PROGRAM...         has the folder removed and open all the while
//     send EVENTS FILE PROGRAM...      once FILE is there, sends "ctrl_c", "ctrl_break", "close" or
//                                      several of them, as in "ctrl_c+ctrl_c", to its console,
//                                      which is one of its own. "thread_1" and "thread_2" are
//                                      break and close as well, without the console's part in it
//     listen FILE                      is such a program itself: makes FILE and ends with 10 and the
//                                      number of the event that it was told
//     code_page PROGRAM...             tells the console's code page before, within and after
//     hidden PROGRAM...                gives it a window station that nobody sees
//     close_box PROGRAM...             gives it a console of its own, as a double click does, and
//                                      closes its first window, whose title it tells
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

enum
{
    LIMIT = 60000, // milliseconds, as the next two
    INTERVAL = 20,
    WELL_UNDER_WAY = 300,
    TIME_IS_UP = 124,
    FAILED_HERE = 125,
    LONGEST = 32000
};

static void fail(const wchar_t* what)
{
    fwprintf(stderr, L"beside: %ls: error %lu\n", what, GetLastError());
    exit(FAILED_HERE);
}

// Those of this program, whatever console it takes meanwhile.
static HANDLE s_input, s_output, s_error;

static HANDLE inherited(DWORD number)
{
    HANDLE handle = GetStdHandle(number);
    SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return handle;
}

// No argument has a quotation mark in it.
static const wchar_t* command_line(wchar_t** words)
{
    static wchar_t line[LONGEST];
    for (; *words; ++words) {
        if (wcslen(line) + wcslen(*words) + 4 > LONGEST)
            fail(L"too many arguments");
        wcscat(wcscat(wcscat(line, L"\""), *words), L"\" ");
    }
    return line;
}

static PROCESS_INFORMATION start(wchar_t** words, DWORD flags, const wchar_t* folder, wchar_t* desktop)
{
    STARTUPINFOW how = {.cb = sizeof how, .lpDesktop = desktop};
    PROCESS_INFORMATION program;
    how.dwFlags = STARTF_USESTDHANDLES;
    how.hStdInput = s_input;
    how.hStdOutput = s_output;
    how.hStdError = s_error;
    if (!CreateProcessW(NULL, (wchar_t*)command_line(words), NULL, NULL, TRUE, flags, NULL, folder, &how,
                        &program))
        fail(words[0]);
    return program;
}

static int ends_within(PROCESS_INFORMATION program, DWORD milliseconds)
{
    return WaitForSingleObject(program.hProcess, milliseconds) == WAIT_OBJECT_0;
}

static int status_of(PROCESS_INFORMATION program)
{
    DWORD status = TIME_IS_UP;
    if (ends_within(program, LIMIT))
        GetExitCodeProcess(program.hProcess, &status);
    else
        TerminateProcess(program.hProcess, TIME_IS_UP);
    return (int)status;
}

static int in(wchar_t** words)
{
    return status_of(start(words + 1, 0, words[0], NULL));
}

static HANDLE open_unshared(const wchar_t* path)
{
    const HANDLE file =
        CreateFileW(path, GENERIC_READ, 0, NULL, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, NULL);
    if (file == INVALID_HANDLE_VALUE)
        fail(path);
    return file;
}

static int hold(wchar_t** words)
{
    const HANDLE file = open_unshared(words[0]);
    const int status = status_of(start(words + 1, 0, NULL, NULL));
    CloseHandle(file);
    return status;
}

static void wait_for(const wchar_t* path, PROCESS_INFORMATION program)
{
    for (int waited = 0; GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES; waited += INTERVAL)
        if (ends_within(program, INTERVAL) || waited > LIMIT) {
            TerminateProcess(program.hProcess, TIME_IS_UP);
            fail(L"it did not come so far");
        }
}

static int hold_briefly(wchar_t** words)
{
    const HANDLE file = open_unshared(words[1]);
    const PROCESS_INFORMATION program = start(words + 2, 0, NULL, NULL);
    wait_for(words[0], program);
    Sleep(WELL_UNDER_WAY);
    CloseHandle(file);
    return status_of(program);
}

static int remove_folder(wchar_t** words)
{
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE folder = CreateFileW(words[0], FILE_LIST_DIRECTORY, share, NULL, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS, NULL);
    if (folder == INVALID_HANDLE_VALUE || !RemoveDirectoryW(words[0]))
        fail(words[0]);
    if (GetFileAttributesW(words[0]) == INVALID_FILE_ATTRIBUTES)
        wprintf(L"asked for it, the system says %lu\n", GetLastError());
    else
        wprintf(L"the system still shows it\n");
    fflush(stdout);
    return status_of(start(words + 1, 0, NULL, NULL));
}

static BOOL WINAPI outlive(DWORD event)
{
    return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

static void close_console(void)
{
    const HWND window = GetConsoleWindow();
    FreeConsole(); // so that the close is not for this program too
    if (!window || !PostMessageW(window, WM_CLOSE, 0, 0))
        fail(L"the console has no window");
}

// What the system does itself in a program that has such an event.
static void start_event_thread(DWORD event, HANDLE process)
{
    const FARPROC routine = GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine");
    if (!routine || !CreateRemoteThread(process, NULL, 0, (LPTHREAD_START_ROUTINE)(void*)routine,
                                        (void*)(ULONG_PTR)event, 0, NULL))
        fail(L"no thread for the event");
}

static void send_events(wchar_t* events, PROCESS_INFORMATION program)
{
    FreeConsole();
    if (!AttachConsole(program.dwProcessId))
        fail(L"AttachConsole");
    SetConsoleCtrlHandler(outlive, TRUE);
    for (const wchar_t* event = wcstok(events, L"+"); event; event = wcstok(NULL, L"+")) {
        Sleep(WELL_UNDER_WAY);
        if (!wcscmp(event, L"close"))
            close_console();
        else if (!wcsncmp(event, L"thread_", 7))
            start_event_thread(event[7] - L'0', program.hProcess);
        else if (!GenerateConsoleCtrlEvent(wcscmp(event, L"ctrl_c") ? CTRL_BREAK_EVENT : CTRL_C_EVENT, 0))
            fail(event);
    }
}

static int send_when_there(wchar_t** words)
{
    const PROCESS_INFORMATION program = start(words + 2, CREATE_NEW_CONSOLE, NULL, NULL);
    wait_for(words[1], program);
    send_events(words[0], program);
    const int status = status_of(program);
    wprintf(L"code page %u\n", GetConsoleOutputCP()); // 0 where the console is gone
    return status;
}

static BOOL WINAPI tell_event(DWORD event)
{
    TerminateProcess(GetCurrentProcess(), 10 + event);
    return TRUE;
}

static int listen_to_events(wchar_t** words)
{
    SetConsoleCtrlHandler(tell_event, TRUE);
    CloseHandle(CreateFileW(words[0], GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL));
    Sleep(LIMIT / 10);
    return 0;
}

static int code_page(wchar_t** words)
{
    const UINT of_dos = 437;
    UINT within = 0;
    FreeConsole();
    if (!AllocConsole() || !SetConsoleOutputCP(of_dos))
        fail(L"the console takes no code page");
    const UINT before = GetConsoleOutputCP();
    const PROCESS_INFORMATION program = start(words, 0, NULL, NULL);
    while (!ends_within(program, INTERVAL))
        if (GetConsoleOutputCP() != before)
            within = GetConsoleOutputCP();
    wprintf(L"before %u, within %u, after %u\n", before, within, GetConsoleOutputCP());
    return status_of(program);
}

static int hidden(wchar_t** words)
{
    wchar_t desktop[] = L"gox_check\\default";
    const HWINSTA shown = GetProcessWindowStation();
    const HWINSTA station = CreateWindowStationW(L"gox_check", 0, GENERIC_ALL, NULL);
    if (!station || !SetProcessWindowStation(station) ||
        !CreateDesktopW(L"default", NULL, NULL, 0, GENERIC_ALL, NULL))
        fail(L"no window station");
    SetProcessWindowStation(shown);
    return status_of(start(words, 0, NULL, desktop));
}

struct SEARCH
{
    DWORD process;
    HWND window;
};

static BOOL CALLBACK is_of_process(HWND window, LPARAM parameter)
{
    struct SEARCH* search = (struct SEARCH*)parameter;
    DWORD process;
    GetWindowThreadProcessId(window, &process);
    if (process == search->process && IsWindowVisible(window))
        search->window = window;
    return !search->window;
}

static int close_box(wchar_t** words)
{
    const PROCESS_INFORMATION program = start(words, CREATE_NEW_CONSOLE, NULL, NULL);
    struct SEARCH search = {program.dwProcessId, NULL};
    for (int waited = 0; !search.window && waited < LIMIT && !ends_within(program, INTERVAL);
         waited += INTERVAL)
        EnumWindows(is_of_process, (LPARAM)&search);
    wchar_t title[200] = L"(no window)";
    if (search.window)
        GetWindowTextW(search.window, title, 200);
    wprintf(L"window: %ls\n", title);
    fflush(stdout);
    PostMessageW(search.window, WM_CLOSE, 0, 0);
    return status_of(program);
}

static const struct
{
    const wchar_t* name;
    int arguments;
    int (*run)(wchar_t** words);
} COMMANDS[] = {{L"in", 1, in},
                {L"hold", 1, hold},
                {L"hold_briefly", 2, hold_briefly},
                {L"remove", 1, remove_folder},
                {L"send", 2, send_when_there},
                {L"hidden", 0, hidden},
                {L"code_page", 0, code_page},
                {L"close_box", 0, close_box},
                {L"listen", 0, listen_to_events}};

int wmain(int count, wchar_t** words)
{
    s_input = inherited(STD_INPUT_HANDLE);
    s_output = inherited(STD_OUTPUT_HANDLE);
    s_error = inherited(STD_ERROR_HANDLE);
    for (size_t i = 0; i < sizeof COMMANDS / sizeof *COMMANDS; ++i)
        if (count > COMMANDS[i].arguments + 2 && !wcscmp(words[1], COMMANDS[i].name))
            return COMMANDS[i].run(words + 2);
    fwprintf(stderr, L"beside: not understood\n");
    return FAILED_HERE;
}
