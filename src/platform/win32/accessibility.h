// The names that screen readers speak, where a control's own text is not its name.
#pragma once

// Stands while the thread shows windows.
class AccessibilitySupport
{
public:
    AccessibilitySupport();
    ~AccessibilitySupport();
    AccessibilitySupport(const AccessibilitySupport&) = delete;
    AccessibilitySupport& operator=(const AccessibilitySupport&) = delete;
};

// window: the system's handle of the control. Where the system does not offer it nothing happens.
void SetAccessibleName(void* window, const wchar_t* name);
void SetAccessibleDescription(void* window, const wchar_t* description); // empty: none
