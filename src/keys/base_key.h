// What a table's index orders its records by: a string of bytes of fixed length, packed from fields of the record with
// neither fillers nor conversions, so that memcmp orders it. An unset key is all zeros. Keys are made once and filled
// again and again; one belongs to one thread at a time.
#pragma once

#include <memory>

inline constexpr int MAX_KEY_LEN = 256;
inline constexpr char ORD_ALL_CHAR = '?'; // in a pattern: any byte

class CBaseKey
{
public:
    CBaseKey() = default; // no bytes
    explicit CBaseKey(int len);
    CBaseKey(const CBaseKey& other);
    CBaseKey& operator=(const CBaseKey& other); // takes its length too
    virtual ~CBaseKey() = default;

    // 1 if every byte equals the pattern's or the pattern's is ORD_ALL_CHAR, else 0. A shorter pattern fits nothing,
    // and so does none.
    virtual int Fit_Pattern(CBaseKey* pattern);

    // The key as a text for a line of the log, its zeros as blanks. Good until the thread's sixth next call.
    virtual char* Get_Str();

    virtual char* Get_Key_Ptr() { return m_key; }
    virtual void Set_Price_Key_Sorting_Method(int /*method*/) {}

    void Init(const char* new_key_value); // m_key_len bytes; null changes nothing

    // By the bytes of this key; those that the other lacks count as zeros. operator< reports keys of different lengths.
    bool operator<(const CBaseKey& other) const;
    bool operator==(const CBaseKey& other) const;

    char* m_key = nullptr; // m_key_len bytes and two zeros
    int m_key_len = 0;

protected:
    // The bytes of a key of a class of `length` bytes. Nothing if its base was given a key of another length: what
    // records give is as long as the class's.
    void Init_Whole(const char* new_key_value, int length)
    {
        if (m_key_len == length) {
            CBaseKey::Init(new_key_value);
        }
    }

    // Reports it if the lengths differ.
    void Check_Length(const CBaseKey& other) const;

    // False if one of two keys is shorter than its class says: its base was given a shorter one.
    [[nodiscard]] bool Both_Have(int count, const CBaseKey& other) const
    {
        return m_key_len >= count && other.m_key_len >= count;
    }

    // What operator< and operator== ask.
    [[nodiscard]] int Compare(const CBaseKey& other) const;

    // The first `count` bytes from another key, zeros for those that it lacks, and the fill behind them.
    void Copy_Head(const CBaseKey* from, int count, int fill);

private:
    std::unique_ptr<char[]> m_own;
};

namespace qapi {

// One of the six texts of this thread that key texts rotate through; 257 bytes.
[[nodiscard]] char* Next_Key_Text();

} // namespace qapi
