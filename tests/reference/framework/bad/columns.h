#ifndef FRAMEWORK_BAD_COLUMNS_H
#define FRAMEWORK_BAD_COLUMNS_H

/// What only columns hold together.
///
/// Ownership  Its own.
///            Really.
///
///     left         right
class CColumns
{
public:
    /// Results in columns.
    /// QV_RES_OK    it worked
    /// - `QV_RES_FAIL`: no empty line in front.
    int Get();
    /// A text behind a list.
    ///
    /// - `QV_RES_OK`: it worked.
    /// This is read as a part of it.
    int GetAll();
    /// The same in another way.
    int GetOther();
    /// An example.
    /// ```
    /// int n = other.GetOther();  // and so on
    /// int m = n;
    /// ```
    int GetMore();
};

#endif

// complaint at 6: a heading in columns, which are joined: write "- **Heading:** ..."
// complaint at 7: only indented, which hovers join: put it between ``` fences
// complaint at 9: only indented, which hovers join: put it between ``` fences
// complaint at 14: a result in columns, which are joined: write "- `QV_RES_...`: ..."
// complaint at 15: no empty line in front of the list
// complaint at 20: a text right behind a list becomes part of it: put an empty line between
// complaint at 22: stands alone in hovers and in the reference: say what is the same
// complaint at 26: a comment in an example ends with a full stop: hovers join lines without one
