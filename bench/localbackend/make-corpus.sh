#!/bin/sh
# Makes a corpus for measure_recognition in the given directory: the packaged readings and the interview questions, the
# latter spoken by flite, as 24 kHz recordings, with a manifest of "file <tab> words" for each of the two sets.
# Needs the packages flite, sox and pocketsphinx-testdata.
set -eu

directory=${1:?usage: make-corpus.sh DIRECTORY}
here=$(dirname "$0")
readings=/usr/share/pocketsphinx/test/data/librivox
mkdir -p "$directory"

number=0
: >"$directory/questions.tsv"
while read -r line; do
    number=$((number + 1))
    file=$directory/question-$number.wav
    flite -voice slt -t "$line" -o "$directory/spoken.wav"
    # Real sound goes on after a question: the pause is what ends the phrase.
    sox -G "$directory/spoken.wav" -r 24000 -b 16 -c 1 "$file" pad 0.4 1.5
    printf '%s\t%s\n' "$file" "$line" >>"$directory/questions.tsv"
done <"$here/questions.txt"
rm -f "$directory/spoken.wav"

: >"$directory/readings.tsv"
sed -n 's|^<s> \(.*\) </s> (\(.*\))$|\2\t\1|p' "$readings/transcription" | while IFS="$(printf '\t')" read -r name words; do
    [ -f "$readings/$name.wav" ] || continue
    file=$directory/$name.wav
    sox -G "$readings/$name.wav" -r 24000 -b 16 -c 1 "$file" pad 0.4 1.5
    printf '%s\t%s\n' "$file" "$words" >>"$directory/readings.tsv"
done
