# Draws the speeds of one run. Called with: gnuplot -e "input='FOLDER'; output='FILE'" bench/plot.gnuplot
set terminal svg size 1100,1250 dynamic background rgb 'white' font 'sans,13'
set output output
set datafile separator tab
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.9 noborder
set grid ytics
set yrange [0:*]
set key outside right top vertical
set ylabel "speed against the C library's copy"
set multiplot layout 4,1
split = input.'/split.dat'
copy = input.'/copy.dat'
# Of a label "VGA, streaming, aligned" the panel's title has the middle.
ends(label) = label[1:strstrt(label, ',') - 1].(strstrt(label, 'misaligned') ? "\nmisaligned" : '')
start(label, access) = label[1:strstrt(label, ', '.access) - 1]
titles = "'RGB8 to planes: images in ever other memory (streaming)' 'RGB8 to planes: one image again and again (hot)' 'RGB8 to planes: the host reads it at once'"
do for [block=0:2] {
  set title word(titles, block + 1)
  plot for [column=3:10] split every ::(8 * block + 1)::(8 * block + 8) using column:xtic(ends(stringcolumn(1))) \
    title word("'streaming copy' libyuv OpenCV plain SSSE3 AVX2 'AVX-512 VBMI' adapter", column - 2)
}
set title "Raw delivery: images in ever other memory (streaming)"
plot for [column=3:4] copy every ::1::7 using column:xtic(start(stringcolumn(1), 'streaming')) \
  title word("'streaming copy' adapter", column - 2)
unset multiplot
