# Draws the speeds of one run. Called with: gnuplot -e "input='FOLDER'; output='FILE'" bench/plot.gnuplot
set terminal svg size 1200,1300 enhanced background rgb 'white' font 'sans,12'
set output output
set datafile separator tab
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.9 noborder
set boxwidth 0.9
set grid ytics
set xtics rotate by -12
set ylabel "speed against the C library's copy"
set key outside right top vertical
set multiplot layout 4,1
split = input.'/split.dat'
copy = input.'/copy.dat'
do for [block=0:2] {
  set title word("streaming hot read-at-once", block + 1).": RGB8 to planes"
  set yrange [0:*]
  plot for [column=3:10] split every ::(8 * block)::(8 * block + 7) using column:xtic(1) title columnheader(column)
}
set title "Raw delivery"
plot for [column=3:4] copy every ::0::20 using column:xtic(1) title columnheader(column)
unset multiplot
