#ifndef FRAMEWORK_BAD_NUMBERED_H
#define FRAMEWORK_BAD_NUMBERED_H

/// Grows in steps of
/// 32. That begins a list, and the number is gone.
class CNumbered
{
};

#endif

// complaint at 4: no text of the reference has all of this paragraph
