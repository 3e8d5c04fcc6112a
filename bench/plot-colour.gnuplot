# Draws how fast every pixel format becomes RGB8. Called with: gnuplot -e "input='FOLDER'; output='FILE'" FILE
set terminal svg noenhanced size 1500,640 dynamic background rgb 'white' font 'sans,12'
set output output
set datafile separator tab
set datafile missing '0.0000'
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.9 noborder
set grid ytics
set yrange [0:*]
set xtics rotate by 60 right nomirror
set key top left horizontal
set ylabel "speed against the C library's copy of the larger picture"
set title "Pixel formats to RGB8, 5 MP, one thread"
plot for [column=3:6] input.'/colour.dat' using column:xtic(1) \
  title word("library OpenCV libyuv 'OpenCV edge-aware'", column - 2)
