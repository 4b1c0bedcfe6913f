<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" sourcelanguage="en">
<context>
    <name>AboutDialog</name>
    <message>
        <source>Title</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Version: 1.0.0 Beta 2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Website:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens the website of the program</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Website</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Closes this window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>for Windows 11/10</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>BatchListModel</name>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>CocoaCode</name>
    <message>
        <source>Select folder ...</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FileDialog</name>
    <message>
        <source>Confirm overwrite</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you want to overwrite </source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FileMenu</name>
    <message>
        <source>Copy to...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename...</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FileModel</name>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>, cannot be shown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>, ticked</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FileWork</name>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>FolderModel</name>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ImagesToPDFForm</name>
    <message>
        <source>Form</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks for image files and adds them to the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Takes the selected images out of the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Go Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the selected images up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Go Down</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the selected images down</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Down</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Empties the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create PDF File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Starts</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Goes back to the list of photos</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File List</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The images, in the order in which they are taken</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drop images here</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Where the result goes, and how it is made</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Output Folder:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Output Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder of the result; the button beside it changes it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Output Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks for the folder of the result</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Output File Name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Output File Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name of the PDF file; the button beside it changes it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Output File Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks for the name of the PDF file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Output Format:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Output Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Format to which the images are converted</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quality</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quality of JPG</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From 0 to 99</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Page Orientation:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Portrait</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pages that are higher than wide</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Landscape</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pages that are wider than high</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Page Size:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Page Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paper of the pages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resize Image to Paper Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enlarges small images to the paper</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Smooth Edges on Resize</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scales smoothly</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quality:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dots of the pages to an inch</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Margin:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No Margin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pages without a margin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Margin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pages with a margin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Margin Size:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Margin Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Width of the margin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preview</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Letter</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A5</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Legal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Executive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>96 dpi</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>150 dpi</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>300 dpi</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>400 dpi</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>600 dpi</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1200 dpi</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>AVIF</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>GIF</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>HEIC</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>HEIF</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>JPG</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>JPEG XL</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PNG</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TIFF</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>WEBP</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert Images</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Image Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Image Files (*.gif *.heic *.heif *.jpg *.jpeg *.png *.tif *.tiff *.webp)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save to PDF File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PDF files (*.pdf)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select folder ...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Confirm overwrite</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you want to overwrite </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Adding images: %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ImagesToPDFPreviewDialog</name>
    <message>
        <source>Preview</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The image; the wheel zooms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Loading image. Please wait...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TextLabel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preview - </source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ImagesToPDFProgressForm</name>
    <message>
        <source>Form</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Converting images in progress. Please wait...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TextLabel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Progress</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How many of the images are done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stops after the image in hand</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The conversion process is completed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The conversion processes are completed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The PDF file has the first %1 of %2 pages: it cannot hold more.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Kestrix</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open PDF File</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Keys</name>
    <message>
        <source>Lists the keys</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Takes the full screen, and leaves it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Adds a folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tab; Shift+Tab</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Goes to the next part of the window, and back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Up; Down; Home; End</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the folder that it stops at</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Up; Down; Left; Right; Home; End; PgUp; PgDown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Goes to another photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Letters and digits</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Goes to the photo whose name begins with them</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens the photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Space</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ticks the photo, or takes its tick off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shift+Space</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gives all from the last tick to here the same</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ticks all photos of the folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Takes their ticks off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copies the file, for a file manager</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks whether to move to the trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Renames the file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reads the folder again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Menu</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens the menu of the photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wheel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the list by a third of a row</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+wheel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the thumbnails larger or smaller</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Left; Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the photo before, or the next one</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the next photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the first photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the last photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Zooms in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Zooms out</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Fits the photo into the view</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the photo at its real size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Fits the width of the photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turns the photo right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turns the photo left</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the crop rectangle, or takes it away</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exports the whole photo to a file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copies the photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wheel; Pinch</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Zooms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wheel over the strip</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the strip</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Goes back to the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Everywhere</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>In the list of folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>In the list of photos</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>In the viewer</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>KeysDialog</name>
    <message>
        <source>Keys</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The keys of the program, and what each of them does</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What it does</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Lumivault</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>OptionsDialog</name>
    <message>
        <source>Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Changes are stored at once</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Slideshow</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Background Color:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change Background Color</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks for the colour around the photos</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delay:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delay</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Seconds for each photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>show countdown timer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Counts the seconds of each photo on the screen</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>OverwriteFileDialog</name>
    <message>
        <source>Dialog</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The following files already exist. Check all files that you wish to overwrite.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Those that are ticked are overwritten</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Target File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Source File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Overwrites the files that are ticked</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Overwrite</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Overwrites no file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The following file already exist. Do you wish to overwrite it?</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SlideShowForm</name>
    <message>
        <source>Form</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TextLabel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ThumbsForm</name>
    <message>
        <source>Form</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The folders of the library; the one that is current is on show</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Photos</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The photos of the folder on show</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks for a folder and adds it to the library</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Takes the folder out of the library; its files stay</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Larger Thumbnails</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the thumbnails larger</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Smaller Thumbnails</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the thumbnails smaller</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Check Boxes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows a check box with each photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide Check Boxes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hides the check boxes; ticks stay</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Asks whether to move the ticked or selected photos to the trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tools</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens a menu of tools</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens the options of the slideshow</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Slideshow</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the photos of the folder one after the other; Escape ends it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert Images</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Converts the ticked photos to another format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create PDF File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Makes one PDF file of the ticked photos</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Website</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens the website of the program</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tells of the program</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add a folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is no folder yet. Press to choose one, or drop folders or photos here</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drop images here</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the photo before</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Forward</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the next photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Goes back to the list of photos</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scale to Fit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the whole photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scale to Width</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the photo as wide as the view</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scale to Height</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the photo as high as the view</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Real Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows each pixel of the photo as one of the screen</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rotate Left</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turns the photo to the left</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rotate Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turns the photo to the right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Flip Horizontal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Changes left and right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Flip Vertical</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Changes top and bottom</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Crop Image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows a rectangle that is to be cut out</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Gallery</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shows the strip of thumbnails under the photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Adjust Image Colors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens a menu of changes to the colours</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save Changes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens a menu: export to a file, or copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The photo on show</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TextLabel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Forward, beside the photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back, beside the photo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gallery</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The photos of the folder, as a strip</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Left:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Left</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Left edge of the crop rectangle, pixels</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Top:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Top</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Top edge of the crop rectangle, pixels</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Width:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Width</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Width of the crop rectangle, pixels</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Height:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Height</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Height of the crop rectangle, pixels</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Cropped Image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exports what is in the crop rectangle to a file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export to Image File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy to Clipboard</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Grayscale</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sepia</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gaamma</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invert Colors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reset Image</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create PDF from Images</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save to Image File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PNG file (*.png);;JPG file (*.jpg);;TIFF file (*.tiff);;GIF file (*.gif)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> files </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 file </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Kestrix</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>has been successfully copied to the </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select Folder ...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This folder cannot be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There are no photos in this folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Total: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>   Path: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>-Create a PDF File from Multiple Images</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>-Convert Multiple Images to another Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 ticked, %2 of them here</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 by %2 pixels</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exporting, %1 left</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>VistamoDeleteDialog</name>
    <message>
        <source>Confirm Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you want to delete the following files?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The files that go to the trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Moves the files to the trash</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Leaves the files where they are</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Index</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>VistamoFilterDialog</name>
    <message>
        <source>Adjustments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preview</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Contrast:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Contrast</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From -255 to 255</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Contrast, as a number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Brightness:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Brightness</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Brightness, as a number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gamma:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gamma</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From -100 to 699</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gamma, as a number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invert Colors:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invert Colors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From 0 to 255</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invert Colors, as a number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keeps the new colours</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Goes back to the colours from before</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>VistamoRenameDialog</name>
    <message>
        <source>Rename File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TextLabel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename to:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename to</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The new name, without its suffix</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Gives the file its new name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Leaves the file its name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
