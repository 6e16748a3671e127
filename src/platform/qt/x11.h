// What the X11 window system needs beside the toolkit.
#pragma once

// The toolkit sets titles by the X library but reads all answers itself, so the library would keep
// a note of every title until 65,535 requests have passed. An answer that it reads drops them. It
// is asked for by name: it is there where the toolkit needs it, and nowhere else.
void DropAnsweredX11Requests();
