#ifndef FRAMEWORK_BAD_LOST_H
#define FRAMEWORK_BAD_LOST_H

/// What the source says and a rendering does not.
class CLost
{
public:
    /// Taken for a command.
    /// ```
    /// int n = 1;
    /// int m = n;
    /// ```
    ///
    /// - `QV_RES_OK`: it worked.
    /// - `QV_RES_FAIL`: the @file is missing, and so are words.
    int Command();

    /// Between <angle brackets> as in a page of the web.
    int Warned();

    /// - `QV_RES_OK`: a comment on nothing at all.

    /// ```
    /// never closed
    int Fence();
};

#endif

// complaint at 8: no text of the reference has all of this paragraph
// complaint at 9: no listing of the reference has these lines
// complaint at 14: no list of the reference has all of this item
// complaint at 15: no list of the reference has all of this item
// complaint at 15: warning
// complaint at 16: CLost::Command() has no text
// complaint at 18: warning
// complaint at 21: a comment on nothing: an empty line follows
// complaint at 23: a fence that is never closed
