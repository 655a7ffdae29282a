#pragma once

/// Chooses the platform for a caller who names none: the one that Qt would take,
/// and the offscreen platform where no display can be reached, so that the run
/// goes on without one. From here on, what Qt says about platforms that don't
/// work is not printed, nor what the offscreen platform says about windows. Main
/// thread, before the application object is made.
void choose_platform(int argc, char** argv);

/// Whether a person can see a window: false on the offscreen and the minimal
/// platform, whoever chose them. Tells standard error of a display that could not
/// be reached. Where nobody sees a window it gives the default font a name, so that the system's
/// fonts are looked for only when somebody draws with them. Main thread, once the application
/// object is there.
bool find_display();
