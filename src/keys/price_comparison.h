// Prices in keys: 19 bytes of text, a number at the right, with blanks, zeros or a sign in front and perhaps a point.
#pragma once

inline constexpr int ORD_PRICE_LEN = 19;
inline constexpr char KEY_BID_CHAR = 'D';
inline constexpr const char* Glb_Bid_Id = "D";

// How the prices of a book are sorted: the best bid and the best offer first, or the other way round.
inline constexpr int CPRICE_BID_DESC_OFFER_ASC_SORTING = 0;
inline constexpr int CPRICE_BID_ASC_OFFER_DESC_SORTING = 1;

// Below 0, 0 or above 0 as the first price comes before the second, is the same, or comes behind it, on the side
// `bid_offer`. Prices are compared as texts, but for their signs: " 2.5" comes before "01.5". All bytes are allowed.
//
// This is a strict weak order of prices whose first point is in one column, or which have none, where
//   - a blank or a digit stands in front of it, or in the last column if there is none, or
//   - the one minus of a negative price does,
// together with bounds of 0 and of 255, in both sorting methods and on both sides. It is none for
//   - points in different columns: "0.5" and "15", "0.50" and "1.5" come each before the other;
//   - prices with a point and without one: "0" is " ", but "." comes between them;
//   - a plus in front of the point: "0." is " .", but "+." comes between them;
//   - a minus behind the point, or two: " .-" is "0.-", but "-. " comes between them; so does "--." with "- ." and
//   "-0.".
// An index that holds such prices may find them in another order than it was given, and miss one.
int TABLE_KEY_Price_Comp(const char* key_ptr, const char* x_key_ptr, int bid_offer, int price_key_sorting_method);

// Writes what stands at an end of all prices of the side *o_d: fill 0 at the front, 255 at the back.
void TABLE_KEY_Price_Key_Fill(char* cur_cpr_ptr, const char* o_d, int fill_value_char, int price_key_sorting_method);
