# Prints each line of a GBK text beside the same line of the file `output`, in two columns over
# `columns` columns of the terminal. Run it with LC_ALL=C: a GBK character is as wide on the
# terminal as it is long in bytes, so bytes are columns.

BEGIN {
  for (i = 128; i < 256; ++i) lead[sprintf("%c", i)] = 1
  width = int((columns - 3) / 2)
  if (width < 20) width = 20
}

# Takes from `rest` what fits into one column, at a blank if there is one near.
function piece(    i, blank, text) {
  if (length(rest) <= width) { text = rest; rest = ""; return text }
  for (i = 1; i <= width; i += (substr(rest, i, 1) in lead) ? 2 : 1) {
    if (substr(rest, i, 1) == " ") blank = i
  }
  if (i > width + 1) i -= 2
  if (blank > width / 2) i = blank + 1
  text = substr(rest, 1, i - 1)
  rest = substr(rest, i)
  return text
}

{
  sub(/\r$/, "")
  getline segmented < output
  rest = $0
  for (lines = 0; rest != ""; ) left[lines++] = piece()
  rest = segmented
  for (right = 0; rest != ""; ++right) {
    printf "%-*s | %s\n", width, right < lines ? left[right] : "", piece()
  }
  for (; right < lines; ++right) printf "%-*s |\n", width, left[right]
}
