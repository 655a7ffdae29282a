#!/usr/bin/perl
# Stands in for the Perforce client. The folder in GOX_TEST_P4 says what it does: it
# notes its arguments, and the names that it was given, in calls.txt there and then
# takes the steps of "<command>.txt", one a line:
#
#     out TEXT, err TEXT    a line of output
#     flood N               N bytes of output without a line end
#     complain N TEXT       N times the line as an error
#     writable              makes the files of its names writable
#     wait N                N milliseconds
#     die                   ends as a crash does
#     exit N                ends with this status; without, 0
use strict;
use warnings;

my ($folder, $command, $call, $has_names) = ($ENV{GOX_TEST_P4}, '', '', 0);
while (defined(my $word = shift)) {
    $has_names = 1 if $word eq '-x';
    $command ||= $word if $word !~ /^-/;
    $call .= $word eq '-d' ? '-d HERE' : $word eq '-x' ? ' -x -' : " $word";
    shift if $word =~ /^-[dx]$/;
}
chomp(my @names = <STDIN>);
open(my $calls, '>>', "$folder/calls.txt") or die;
print $calls map { "$_\n" } $call, @names, $has_names == (@names > 0) ? () : 'the names are missing';
close($calls);

$| = 1;
open(my $steps, '<', "$folder/$command.txt") or exit;
while (my $line = <$steps>) {
    chomp($line);
    my ($word, $rest) = split(/ /, $line, 2);
    my ($number, $text) = split(/ /, $rest // '', 2);
    print "$rest\n" if $word eq 'out';
    print STDERR "$rest\n" if $word eq 'err';
    print 'x' x $number if $word eq 'flood';
    print STDERR "$text\n" x $number if $word eq 'complain';
    select(undef, undef, undef, $number / 1000) if $word eq 'wait';
    kill('ABRT', $$) if $word eq 'die';
    exit($number) if $word eq 'exit';
    next if $word ne 'writable';
    for my $name (@names) {
        (my $file = $name) =~ s/%(..)/chr(hex($1))/ge;
        chmod((stat($file))[2] & 07777 | 0200, $file) or die;
    }
}
